#include "tests/fake_component.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

namespace fake {

using support::ComObject;
using support::UnansweredDispatch;

namespace {

// ---- Texts

char32_t decode(const std::string &text, std::size_t &at) {
  const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  const unsigned char lead = byte(at);
  const std::size_t length = lead < 0x80 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
  char32_t character = length == 1 ? lead : lead & (0xFFu >> (length + 1));
  for (std::size_t i = 1; i < length && at + i < text.size(); ++i) {
    character = character << 6 | (byte(at + i) & 0x3Fu);
  }
  at += length;
  return character;
}

void encode(char32_t character, std::string &out) {
  const auto put = [&](char32_t byte) { out += static_cast<char>(byte); };
  if (character < 0x80) return put(character);
  if (character < 0x800) {
    put(0xC0 | character >> 6);
  } else if (character < 0x10000) {
    put(0xE0 | character >> 12);
    put(0x80 | (character >> 6 & 0x3F));
  } else {
    put(0xF0 | character >> 18);
    put(0x80 | (character >> 12 & 0x3F));
    put(0x80 | (character >> 6 & 0x3F));
  }
  put(0x80 | (character & 0x3F));
}

Wide textOf(BSTR text) { return Wide(text != nullptr ? text : Wide().c_str(), SysStringLen(text)); }

BSTR bstrOf(const Wide &text) {
  return SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
}

Wide folded(Wide text) {
  for (OLECHAR &c : text) {
    if (c >= 'A' && c <= 'Z') c = static_cast<OLECHAR>(c - 'A' + 'a');
  }
  return text;
}

bool same(const Wide &a, const Wide &b) { return folded(a) == folded(b); }

// ---- Objects

class Item final : public ComObject<IZkVariablesItem> {
 public:
  Item(Wide key, Variable variable)
      : ComObject(ZK_IID_VARIABLES_ITEM), key_(std::move(key)), variable_(std::move(variable)) {}

  HRESULT STDMETHODCALLTYPE GetKey(BSTR *result) override {
    *result = bstrOf(key_);
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE PutValue(VARIANT value) override {
    if (value.vt == VT_BSTR) variable_.value = textOf(value.bstrVal);
    return value.vt == VT_BSTR ? S_OK : E_INVALIDARG;
  }
  HRESULT STDMETHODCALLTYPE GetValue(VARIANT *result) override {
    VariantInit(result);
    result->vt = VT_BSTR;
    result->bstrVal = bstrOf(variable_.value);
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE PutName(BSTR name) override {
    variable_.name = textOf(name);
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE GetName(BSTR *result) override {
    *result = bstrOf(variable_.name);
    return S_OK;
  }

 private:
  Wide key_;
  Variable variable_;
};

class List final : public ComObject<IZkVariablesList> {
 public:
  List() : ComObject(ZK_IID_VARIABLES_LIST) {}
  ~List() override {
    for (Entry &entry : entries_) entry.item->Release();
  }

  HRESULT STDMETHODCALLTYPE Add(BSTR key, BSTR name, VARIANT value,
                                IZkVariablesItem **result) override {
    *result = nullptr;
    if (value.vt != VT_BSTR || position(textOf(key)) != entries_.size()) return E_INVALIDARG;
    append(textOf(key), {textOf(name), textOf(value.bstrVal)});
    return take(entries_.back().item, result);
  }
  HRESULT STDMETHODCALLTYPE Item(VARIANT index, IZkVariablesItem **result) override {
    *result = nullptr;
    std::size_t at = entries_.size();
    if (index.vt == VT_I4 && index.lVal >= 1) at = static_cast<std::size_t>(index.lVal) - 1;
    if (index.vt == VT_BSTR) at = position(textOf(index.bstrVal));
    return at < entries_.size() ? take(entries_[at].item, result) : DISP_E_BADINDEX;
  }
  HRESULT STDMETHODCALLTYPE Count(LONG *result) override {
    *result = static_cast<LONG>(entries_.size());
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE Remove(BSTR key) override {
    const std::size_t at = position(textOf(key));
    if (at == entries_.size()) return DISP_E_BADINDEX;
    entries_[at].item->Release();
    entries_.erase(entries_.begin() + static_cast<std::ptrdiff_t>(at));
    return S_OK;
  }

  void append(Wide key, Variable variable) {
    entries_.push_back({key, new fake::Item(key, std::move(variable))});
  }

 private:
  struct Entry {
    Wide key;
    IZkVariablesItem *item;
  };
  static HRESULT take(IZkVariablesItem *item, IZkVariablesItem **result) {
    item->AddRef();
    *result = item;
    return S_OK;
  }
  std::size_t position(const Wide &key) const {
    const auto found = std::find_if(entries_.begin(), entries_.end(),
                                    [&](const Entry &entry) { return entry.key == key; });
    return static_cast<std::size_t>(found - entries_.begin());
  }

  std::vector<Entry> entries_;
};

Component *current = nullptr;

}  // namespace

// The object that the library sees: all four interfaces, one count.
class ComponentObject final : public UnansweredDispatch<IZkApplication>,
                              public UnansweredDispatch<IZkConfigurationCache>,
                              public UnansweredDispatch<IZkTranslator>,
                              public UnansweredDispatch<IZkConfigurationDirectory> {
 public:
  explicit ComponentObject(Component &component) : component_(component) {
    ++support::liveComObjects;
    ++component_.created;
  }

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID identity, void **object) override {
    const Interfaces &has = component_.interfaces;
    *object = nullptr;
    if (identity == IID_IUnknown) *object = static_cast<UnansweredDispatch<IZkApplication> *>(this);
    if (identity == ZK_IID_APPLICATION && has.application) {
      *object = static_cast<IZkApplication *>(this);
    }
    if (identity == ZK_IID_CONFIGURATION_CACHE && has.cache) {
      *object = static_cast<IZkConfigurationCache *>(this);
    }
    if (identity == ZK_IID_TRANSLATOR && has.translator) {
      *object = static_cast<IZkTranslator *>(this);
    }
    if (identity == ZK_IID_CONFIGURATION_DIRECTORY && has.directory) {
      *object = static_cast<IZkConfigurationDirectory *>(this);
    }
    if (*object == nullptr) return E_NOINTERFACE;
    AddRef();
    return S_OK;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return ++count_; }
  ULONG STDMETHODCALLTYPE Release() override {
    const ULONG left = --count_;
    if (left == 0) delete this;
    return left;
  }

  // ---- Files

  HRESULT STDMETHODCALLTYPE FileExists(BSTR path, VARIANT_BOOL *result) override {
    return call("FileExists", {path}, [&] { *result = has(component_.files, path); });
  }
  HRESULT STDMETHODCALLTYPE DirectoryExists(BSTR path, VARIANT_BOOL *result) override {
    return call("DirectoryExists", {path}, [&] { *result = has(component_.directories, path); });
  }
  HRESULT STDMETHODCALLTYPE Revalidate(BSTR path) override {
    return call("Revalidate", {path}, [] {});
  }

  // ---- Configuration

  HRESULT STDMETHODCALLTYPE GetDirectory(BSTR *result) override {
    return call("GetDirectory", {},
                [&] { *result = bstrOf(wide(component_.configurationDirectory)); });
  }
  HRESULT STDMETHODCALLTYPE GetValue(BSTR file, BSTR group, BSTR name, VARIANT_BOOL,
                                     BSTR *result) override {
    *result = nullptr;
    return call("GetValue", {file, group, name}, [&] {
      if (const Variable *variable = find(file, group, name)) *result = bstrOf(variable->value);
    });
  }
  HRESULT STDMETHODCALLTYPE SetValue(BSTR file, BSTR group, BSTR name, BSTR value,
                                     int16_t *result) override {
    return call("SetValue", {file, group, name, value}, [&] {
      *result = component_.storing;
      if (*result == 0) return;
      if (Variable *variable = find(file, group, name)) {
        variable->value = textOf(value);
      } else {
        component_.findOrAdd(textOf(file), textOf(group))
            .variables.push_back({textOf(name), textOf(value)});
      }
    });
  }
  HRESULT STDMETHODCALLTYPE GetGroup(BSTR file, BSTR group, IZkVariablesList **result) override {
    *result = nullptr;
    return call("GetGroup", {file, group}, [&] {
      if (const Group *found = component_.find(textOf(file), textOf(group))) {
        *result = newVariablesList(found->variables);
      }
    });
  }
  HRESULT STDMETHODCALLTYPE AddGroup(BSTR file, BSTR group) override {
    return call("AddGroup", {file, group},
                [&] { component_.findOrAdd(textOf(file), textOf(group)); });
  }
  HRESULT STDMETHODCALLTYPE RemoveGroup(BSTR file, BSTR group) override {
    bool removed = false;
    const HRESULT result = call("RemoveGroup", {file, group}, [&] {
      std::vector<Group> &groups = component_.ini[folded(textOf(file))];
      removed = std::erase_if(groups, [&](const Group &candidate) {
                  return same(candidate.name, textOf(group));
                }) != 0;
    });
    return result == S_OK && !removed ? S_FALSE : result;
  }
  HRESULT STDMETHODCALLTYPE ListGroups(BSTR file, IZkVariablesList **result) override {
    *result = nullptr;
    return call("ListGroups", {file}, [&] {
      const auto found = component_.ini.find(folded(textOf(file)));
      if (found == component_.ini.end()) return;
      std::vector<Variable> names;
      for (const Group &group : found->second) names.push_back({group.name, {}});
      *result = newVariablesList(names);
    });
  }
  HRESULT STDMETHODCALLTYPE Reload(BSTR file, int16_t *result) override {
    return call("Reload", {file},
                [&] { *result = component_.ini.count(folded(textOf(file))) != 0 ? 1 : 0; });
  }
  HRESULT STDMETHODCALLTYPE Reset() override {
    return call("Reset", {}, [] {});
  }
  HRESULT STDMETHODCALLTYPE View() override {
    return call("View", {}, [] {});
  }

  // ---- Messages

  HRESULT STDMETHODCALLTYPE GetLanguage(BSTR *result) override {
    *result = nullptr;
    return call("GetLanguage", {}, [&] { *result = bstrOf(wide(component_.language)); });
  }
  HRESULT STDMETHODCALLTYPE Translate(BSTR text, BSTR messageId, LONG, BSTR *result) override {
    *result = nullptr;
    return call("Translate", {text, messageId}, [&] {
      const std::string english = narrow(textOf(text));
      for (const std::string &id : {narrow(textOf(messageId)), std::string()}) {
        const auto found = component_.translations.find({english, id});
        if (found == component_.translations.end()) continue;
        *result = bstrOf(wide(found->second));
        return;
      }
    });
  }

 private:
  ~ComponentObject() { --support::liveComObjects; }

  // Notes the call and answers it.
  template <typename Answer>
  HRESULT call(const char *method, std::initializer_list<BSTR> arguments, Answer answer) {
    std::string line = std::string(method) + "(";
    for (const BSTR &argument : arguments) {
      if (&argument != arguments.begin()) line += ", ";
      line += narrow(textOf(argument));
    }
    component_.calls.push_back(line + ")");
    if (FAILED(component_.failure)) return component_.failure;
    answer();
    return S_OK;
  }

  static VARIANT_BOOL has(const std::set<std::string> &names, BSTR name) {
    return names.count(narrow(textOf(name))) != 0 ? VARIANT_TRUE : VARIANT_FALSE;
  }

  Variable *find(BSTR file, BSTR group, BSTR name) {
    Group *found = component_.find(textOf(file), textOf(group));
    if (found == nullptr) return nullptr;
    const auto variable =
        std::find_if(found->variables.begin(), found->variables.end(),
                     [&](const Variable &each) { return same(each.name, textOf(name)); });
    return variable != found->variables.end() ? &*variable : nullptr;
  }

  Component &component_;
  ULONG count_ = 1;
};

namespace {

IUnknown *makeComponent() {
  if (current == nullptr || !current->available) return nullptr;
  return static_cast<UnansweredDispatch<IZkApplication> *>(new ComponentObject(*current));
}

void ZK_CALL noteError(HRESULT error, void *component) {
  static_cast<Component *>(component)->errors.push_back(error);
}

}  // namespace

// ---- Texts and lists

Wide wide(const std::string &text) {
  Wide result;
  for (std::size_t at = 0; at < text.size();) {
    const char32_t character = decode(text, at);
    if (character < 0x10000) {
      result += static_cast<OLECHAR>(character);
    } else {
      result += static_cast<OLECHAR>(0xD7C0 + (character >> 10));
      result += static_cast<OLECHAR>(0xDC00 + (character & 0x3FF));
    }
  }
  return result;
}

std::string narrow(const Wide &text) {
  std::string result;
  for (std::size_t at = 0; at < text.size(); ++at) {
    const char32_t unit = text[at];
    const char32_t next = at + 1 < text.size() ? static_cast<char32_t>(text[at + 1]) : U'\0';
    if (unit >= 0xD800 && unit < 0xDC00 && next >= 0xDC00 && next < 0xE000) {
      encode(0x10000 + ((unit - 0xD800) << 10) + (next - 0xDC00), result);
      ++at;
    } else {
      encode(unit >= 0xD800 && unit < 0xE000 ? U'?' : unit, result);
    }
  }
  return result;
}

IZkVariablesList *newVariablesList(const std::vector<Variable> &variables) {
  auto *list = new List;
  for (std::size_t i = 0; i < variables.size(); ++i) {
    list->append(wide(std::to_string(i + 1)), variables[i]);
  }
  return list;
}

// ---- The component

Component::Component()
    : objectsBefore_(support::liveComObjects), registered_(ZK_CLSID_APPLICATION, makeComponent) {
  current = this;
  zk_Global_destroyData();
  zk_Com_setErrorHandler(noteError, this);
}

Component::~Component() {
  zk_Global_destroyData();
  zk_Com_setErrorHandler(nullptr, nullptr);
  // The factory is the one object more.
  EXPECT_EQ(support::liveComObjects, objectsBefore_ + 1) << "references are left";
  current = nullptr;
}

Group *Component::find(const Wide &file, const Wide &group) {
  const auto found = ini.find(folded(file));
  if (found == ini.end()) return nullptr;
  for (Group &candidate : found->second) {
    if (same(candidate.name, group)) return &candidate;
  }
  return nullptr;
}

Group &Component::findOrAdd(const Wide &file, const Wide &group) {
  if (Group *found = find(file, group)) return *found;
  std::vector<Group> &groups = ini[folded(file)];
  groups.push_back({group, {}});
  return groups.back();
}

void Component::set(const std::string &file, const std::string &group, const std::string &name,
                    const std::string &value) {
  std::vector<Variable> &variables = findOrAdd(wide(file), wide(group)).variables;
  for (Variable &variable : variables) {
    if (same(variable.name, wide(name))) {
      variable.value = wide(value);
      return;
    }
  }
  variables.push_back({wide(name), wide(value)});
}

void Component::addGroup(const std::string &file, const std::string &group) {
  findOrAdd(wide(file), wide(group));
}

std::vector<std::string> Component::lines(const std::string &file) const {
  std::vector<std::string> result;
  const auto found = ini.find(folded(wide(file)));
  if (found == ini.end()) return {"(missing)"};
  for (const Group &group : found->second) {
    result.push_back("[" + narrow(group.name) + "]");
    for (const Variable &variable : group.variables) {
      result.push_back(narrow(variable.name) + "=" + narrow(variable.value));
    }
  }
  return result;
}

}  // namespace fake
