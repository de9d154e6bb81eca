// The stock application component, through its own interfaces and through the library.
#include <chrono>
#include <cstdlib>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <thread>

#include "tests/file_calls.h"
#include "tests/modules.h"
#include "tests/processes.h"
#include "tests/refusing_memory.h"
#include "tests/support.h"
#include "zk/env.h"
#include "zk/ini.h"
#include "zk/msg.h"
#include "zk/sys.h"
#include "zk/varlist.h"
#include "zk_component.h"

// ---- The component's requests of memory come here; the library's go to support::allocator.

namespace {
support::Allocator ofComponent;
}  // namespace

// Not inlined: the compiler would see blocks of the one released by a part of the other.
[[gnu::noinline]] void *operator new(std::size_t size) {
  void *block = ofComponent.refuses() ? nullptr : std::malloc(size);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}
[[gnu::noinline]] void operator delete(void *block) noexcept { std::free(block); }
[[gnu::noinline]] void operator delete(void *block, std::size_t) noexcept { std::free(block); }

namespace {

namespace fs = std::filesystem;
using file_calls::Disturbance;
using processes::Arguments;
using processes::Process;
using support::readFile;
using support::writeFile;

// ---- COM in short

HRESULT getClassObject(REFCLSID classId, REFIID identity, void **factory) {
  static const auto function =
      reinterpret_cast<ZkGetClassObjectFn>(modules::function(COMPONENT_FILE, "DllGetClassObject"));
  return function(classId, identity, factory);
}

HRESULT canUnloadNow() {
  using Function = HRESULT(STDAPICALLTYPE *)();
  return reinterpret_cast<Function>(modules::function(COMPONENT_FILE, "DllCanUnloadNow"))();
}

template <typename T>
class Com {
 public:
  Com() = default;
  Com(Com &&other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
  ~Com() {
    if (object_ != nullptr) object_->Release();
  }
  T *operator->() const { return object_; }
  T *get() const { return object_; }
  T **out() { return &object_; }
  void **outAny() { return reinterpret_cast<void **>(&object_); }
  explicit operator bool() const { return object_ != nullptr; }

 private:
  T *object_ = nullptr;
};

template <typename T>
Com<T> create(const GUID &classId, const GUID &identity) {
  Com<IClassFactory> factory;
  EXPECT_EQ(getClassObject(classId, IID_IClassFactory, factory.outAny()), S_OK);
  Com<T> object;
  EXPECT_EQ(factory->CreateInstance(nullptr, identity, object.outAny()), S_OK);
  return object;
}

std::string narrow(BSTR text) {
  return text != nullptr ? std::string(text, text + SysStringLen(text)) : "(null)";
}

// ASCII only.
class Text {
 public:
  Text() = default;
  Text(const char *text) : Text(std::string(text)) {}
  Text(const std::string &text) {
    const std::basic_string<OLECHAR> wide(text.begin(), text.end());
    text_ = SysAllocStringLen(wide.data(), static_cast<UINT>(wide.size()));
  }
  Text(const Text &) = delete;
  ~Text() { SysFreeString(text_); }
  operator BSTR() const { return text_; }
  BSTR *out() {
    SysFreeString(std::exchange(text_, nullptr));
    return &text_;
  }
  bool isNull() const { return text_ == nullptr; }
  std::string str() const { return narrow(text_); }

 private:
  BSTR text_ = nullptr;
};

VARIANT number(int32_t value, VARTYPE type = VT_I4) {
  VARIANT result = {};
  result.vt = type;
  result.lVal = value;
  return result;
}

VARIANT keyVariant(const Text &key) {
  VARIANT result = {};
  result.vt = VT_BSTR;
  result.bstrVal = key;
  return result;
}

// "name=value name=value" of a list; just names for values that are no texts.
std::string contents(const Com<IZkVariablesList> &list) {
  if (!list) return "(none)";
  LONG count = -1;
  EXPECT_EQ(list->Count(&count), S_OK);
  std::string result;
  for (LONG i = 1; i <= count; ++i) {
    Com<IZkVariablesItem> item;
    EXPECT_EQ(list->Item(number(i), item.out()), S_OK);
    Text name;
    VARIANT value;
    item->GetName(name.out());
    item->GetValue(&value);
    result += (i > 1 ? " " : "") + name.str();
    if (value.vt == VT_BSTR) result += "=" + narrow(value.bstrVal);
    VariantClear(&value);
  }
  return result;
}

// ---- The configuration cache in short

class Cache {
 public:
  Cache()
      : cache_(create<IZkConfigurationCache>(ZK_CLSID_APPLICATION, ZK_IID_CONFIGURATION_CACHE)) {}

  std::string get(const std::string &file, const char *group, const char *name) {
    Text value;
    EXPECT_EQ(cache_->GetValue(Text(file), Text(group), Text(name), VARIANT_FALSE, value.out()),
              S_OK);
    return value.str();
  }
  bool set(const std::string &file, const char *group, const std::string &name,
           const std::string &value) {
    int16_t stored = 0;
    EXPECT_EQ(cache_->SetValue(Text(file), Text(group), Text(name), Text(value), &stored), S_OK);
    return stored != 0;
  }
  std::string group(const std::string &file, const char *group) {
    Com<IZkVariablesList> list;
    EXPECT_EQ(cache_->GetGroup(Text(file), Text(group), list.out()), S_OK);
    return contents(list);
  }
  std::string groups(const std::string &file) {
    Com<IZkVariablesList> list;
    EXPECT_EQ(cache_->ListGroups(Text(file), list.out()), S_OK);
    return contents(list);
  }
  HRESULT add(const std::string &file, const char *group) {
    return cache_->AddGroup(Text(file), Text(group));
  }
  HRESULT remove(const std::string &file, const char *group) {
    return cache_->RemoveGroup(Text(file), Text(group));
  }
  IZkConfigurationCache *operator->() { return cache_.get(); }

 private:
  Com<IZkConfigurationCache> cache_;
};

class ComponentTest : public support::TableTest {
 protected:
  ComponentTest() : ini_(path("zk.ini")) { environment("ZK_CONFIG_DIR", folder_.string()); }
  ~ComponentTest() override { zk_Global_destroyData(); }

  // Stays in the environment as it is.
  static void environment(const std::string &name, const std::string &value) {
    static std::map<std::string, std::string> kept;
    std::string &text = kept[name];
    text = name + "=" + value;
    putenv(text.data());
  }

  const std::string ini_;
};

// ---- INI files: what stands in them

TEST_F(ComponentTest, ReadsWhatStandsInAFile) {
  Cache cache;
  const std::string longText(100'000, 'x');
  const struct {
    std::string text;
    const char *group;
    const char *name;
    std::string value;
  } cases[] = {
      {"[A]\nx=1\n", "A", "x", "1"},
      {"[A]\nx=1\n", "a", " X ", "1"},
      {"[A]\nx=1", " A ", "x", "1"},
      {"[A]\r\nx=1 \r\ny=2\r\n", "A", "x", "1"},
      {"  [ Paths\nx=1\n", "Paths", "x", "1"},
      {"\t[A] rest ] of it\nx=1\n", "A", "x", "1"},
      {"[]\nx=1\n", "", "x", "1"},
      {"[A]\n key = = a = b \t\n", "A", "key", "a = b"},
      {"[A]\nx=\n", "A", "x", ""},
      {"[A]\nx\n", "A", "x", ""},
      {"[A]\n;x=1\n ; x=2\nx=3;4\n", "A", "x", "3;4"},
      {"[A]\nx=1\nX=2\n", "A", "x", "1"},
      {"[A]\n[B]\nx=1\n", "A", "x", "(null)"},
      {"[A]\ny=1\n[a]\nx=2\n", "A", "x", "(null)"},
      {"x=1\n[A]\n", "A", "x", "(null)"},
      {"x=1\n", "", "x", "(null)"},
      {"[A]\n=1\n", "A", "", "(null)"},
      {"", "A", "x", "(null)"},
      {"[A]\n" + longText + "=" + longText + "\n", "A", longText.c_str(), longText},
      {"[A]\nx=\xC4\x80\xE2\x82\xAC\n", "A", "y", "(null)"},
  };
  for (const auto &c : cases) {
    writeFile(ini_, c.text);
    EXPECT_EQ(cache.get(ini_, c.group, c.name), c.value) << c.text.substr(0, 80);
  }
  EXPECT_EQ(cache.get(path("missing.ini"), "A", "x"), "(null)");
  EXPECT_EQ(cache.get(folder_.string(), "A", "x"), "(null)");
}

// What is not touched stays, byte for byte.
TEST_F(ComponentTest, EditsOneLineOfAFile) {
  Cache cache;
  const struct {
    const char *before;
    const char *group;
    const char *name;
    const char *value;
    const char *after;
  } cases[] = {
      {"; c\n\n[A]\n x = 1 \ny=2", "a", "X", "3", "; c\n\n[A]\nx=3\ny=2"},
      {"[A]\r\nx=1\r\n\n; c\n", "A", "x", "", "[A]\r\nx=\r\n\n; c\n"},
      {"[A]\nx=1\n\n; of B\n[B]\n", "A", "y", "2", "[A]\nx=1\ny=2\n\n; of B\n[B]\n"},
      {"[A]\r\n; c\r\n\r\n[B]\r\n", "A", "y", "2", "[A]\r\ny=2\r\n; c\r\n\r\n[B]\r\n"},
      {"[A]\nx=1", "A", "y", "2", "[A]\nx=1\ny=2"},
      {"[A]", "A", "y", "2", "[A]\ny=2"},
      {"[A]\nx=1\nx=2\n[A]\nx=3\n", "A", "x", "0", "[A]\nx=0\nx=2\n[A]\nx=3\n"},
      {"[A]\nx=1", " B ", " y ", "2", "[A]\nx=1\n\n[B]\ny=2\n\n"},
      {"[A]\r\nx=1\r\n\r\n", "B", "y", "2", "[A]\r\nx=1\r\n\r\n[B]\r\ny=2\r\n\r\n"},
      {"", "B", "y", "a = b", "[B]\ny=a = b\n\n"},
      {"[A]\nword\nx=1\n", "A", "word", "2", "[A]\nword=2\nx=1\n"},
  };
  for (const auto &c : cases) {
    writeFile(ini_, c.before);
    EXPECT_TRUE(cache.set(ini_, c.group, c.name, c.value)) << c.before;
    EXPECT_EQ(readFile(ini_), c.after);
    EXPECT_EQ(cache.get(ini_, c.group, c.name), c.value) << c.before;
  }
  fs::remove(ini_);
  EXPECT_TRUE(cache.set(ini_, "A", "x", "1"));
  EXPECT_EQ(readFile(ini_), "[A]\nx=1\n\n");
}

TEST_F(ComponentTest, RefusesWhatTheFormatCannotHold) {
  Cache cache;
  const std::string text = "[A]\nx=1\n";
  writeFile(ini_, text);
  const std::string withZero("a\0b", 3);
  const struct {
    const char *group;
    std::string name;
    std::string value;
  } cases[] = {{"", "x", "2"},     {"A]B", "x", "2"},  {"A\nB", "x", "2"}, {"A", "", "2"},
               {"A", " ", "2"},    {"A", "x=y", "2"},  {"A", "[x", "2"},   {"A", ";x", "2"},
               {"A", "x\ny", "2"}, {"A", "x", "2\n3"}, {"A", "x", "2\r"},  {"A", "x", withZero}};
  for (const auto &c : cases) {
    EXPECT_FALSE(cache.set(ini_, c.group, c.name, c.value)) << c.name << "=" << c.value;
  }
  EXPECT_EQ(cache.add(ini_, "A]B"), E_INVALIDARG);
  EXPECT_EQ(readFile(ini_), text);
}

TEST_F(ComponentTest, GroupsAreListedAddedAndRemoved) {
  Cache cache;
  EXPECT_EQ(cache.groups(ini_), "(none)");
  EXPECT_EQ(cache.remove(ini_, "A"), S_FALSE);
  EXPECT_EQ(readFile(ini_), "(missing)");
  EXPECT_EQ(cache.add(ini_, "Run.0"), S_OK);
  EXPECT_EQ(readFile(ini_), "[Run.0]\n\n");

  writeFile(ini_, "; top\n[B]\nz=1\n\n[A]\r\nb=2\n;c\na= \n=no\nb=3\n[b]\nq=1\n[C]\nlast=1");
  EXPECT_EQ(cache.groups(ini_), "B A C");
  EXPECT_EQ(cache.group(ini_, "a"), "b=2 a= b=3");
  EXPECT_EQ(cache.group(ini_, "none"), "(none)");
  const std::string before = readFile(ini_);
  EXPECT_EQ(cache.add(ini_, "c"), S_OK);
  EXPECT_EQ(cache.remove(ini_, "none"), S_FALSE);
  EXPECT_EQ(readFile(ini_), before);
  // Both groups of the name, or the second would become the first.
  EXPECT_EQ(cache.remove(ini_, " B "), S_OK);
  EXPECT_EQ(readFile(ini_), "; top\n[A]\r\nb=2\n;c\na= \n=no\nb=3\n[C]\nlast=1");
  EXPECT_EQ(cache.remove(ini_, "C"), S_OK);
  EXPECT_EQ(cache.groups(ini_), "A");
}

// ---- INI files: the disk

TEST_F(ComponentTest, ChangesOfOthersAreSeenAtOnce) {
  Cache cache;
  // In place, of the same length, faster than the clock of the file system.
  for (int i = 100; i < 400; ++i) {
    writeFile(ini_, "[A]\nx=" + std::to_string(i));
    ASSERT_EQ(cache.get(ini_, "A", "x"), std::to_string(i));
  }
  // Once the file has been left alone for a while, its stamp tells.
  std::this_thread::sleep_for(std::chrono::milliseconds(2200));
  EXPECT_EQ(cache.get(ini_, "A", "x"), "399");
  const auto time = fs::last_write_time(ini_);
  writeFile(ini_, "[A]\nx=400");
  fs::last_write_time(ini_, time);
  EXPECT_EQ(cache.get(ini_, "A", "x"), "400");
  fs::remove(ini_);
  EXPECT_EQ(cache.get(ini_, "A", "x"), "(null)");

  int16_t read = 1;
  EXPECT_EQ(cache->Reload(Text(ini_), &read), S_OK);
  EXPECT_EQ(read, 0);
  writeFile(ini_, "[A]\nx=1");
  EXPECT_EQ(cache->Reload(Text(ini_), &read), S_OK);
  EXPECT_NE(read, 0);
  testing::internal::CaptureStdout();
  EXPECT_EQ(cache->View(), S_OK);
  EXPECT_NE(testing::internal::GetCapturedStdout().find("[A]"), std::string::npos);
  EXPECT_EQ(cache->Reset(), S_OK);
  EXPECT_EQ(cache.get(ini_, "A", "x"), "1");
}

TEST_F(ComponentTest, WhatCannotBeWrittenStaysAsItIs) {
  Cache cache;
  const std::string text = "[A]\nx=1\n";
  writeFile(ini_, text);
  fs::permissions(ini_, fs::perms::owner_read);
  EXPECT_FALSE(cache.set(ini_, "A", "x", "2"));
  EXPECT_EQ(cache.add(ini_, "B"), E_FAIL);
  EXPECT_EQ(cache.remove(ini_, "A"), E_FAIL);
  EXPECT_TRUE(cache.set(ini_, "A", "x", "1")) << "nothing to write";
  EXPECT_EQ(readFile(ini_), text);
  EXPECT_FALSE(cache.set(path("none/zk.ini"), "A", "x", "1"));
  EXPECT_FALSE(cache.set(folder_.string(), "A", "x", "1"));
  EXPECT_FALSE(cache.set("", "A", "x", "1"));
  EXPECT_FALSE(cache.set(path(std::string(300, 'n')), "A", "x", "1"));
  EXPECT_EQ(files(), (std::vector<std::string>{"zk.ini"}));
  if (processes::makeNamedPipe(path("pipe.ini"))) {
    processes::goOnWithin(20);
    EXPECT_EQ(cache.get(path("pipe.ini"), "A", "x"), "(null)");
    EXPECT_FALSE(cache.set(path("pipe.ini"), "A", "x", "1"));
    processes::goOnWithin(0);
  }
}

TEST_F(ComponentTest, AFileKeepsItsPermissionsAndLinks) {
  Cache cache;
  const auto permissions = fs::perms::owner_read | fs::perms::owner_write | fs::perms::others_read;
  writeFile(ini_, "[A]\n");
  fs::permissions(ini_, permissions);
  const auto before = fs::status(ini_).permissions();
  EXPECT_TRUE(cache.set(ini_, "A", "x", "0"));
  EXPECT_EQ(fs::status(ini_).permissions(), before);

  std::error_code impossible;
  fs::create_symlink("zk.ini", path("link.ini"), impossible);
  if (impossible) GTEST_SKIP() << "no links here";
  EXPECT_TRUE(cache.set(path("link.ini"), "A", "x", "1"));
  EXPECT_TRUE(fs::is_symlink(path("link.ini")));
  EXPECT_EQ(readFile(ini_), "[A]\nx=1\n");
}

// A disk that is full, or a process that ends, at any write: the file is the old or the new one.

const std::string kOldValue(10'000, 'o');
const std::string kNewValue(9'000, 'n');
constexpr int kEnded = 77;

struct Outcome {
  bool stored;
  bool reached;  // the call that was to be disturbed
};

Outcome setDisturbed(const std::string &file, int n, Disturbance kind) {
  Cache cache;
  file_calls::disturb(n, kind);
  const bool stored = cache.set(file, "A", "x", kNewValue);
  return {stored, file_calls::calm()};
}

int disturbedSetter(const Arguments &arguments) {
  file_calls::setExitCode(kEnded);
  setDisturbed(arguments[0], std::stoi(arguments[1]),
               static_cast<Disturbance>(std::stoi(arguments[2])));
  return 0;
}
const processes::Role disturbedRole("disturbed", disturbedSetter);

class DisturbedTest : public ComponentTest {
 protected:
  const std::string before_ = "[A]\nx=" + kOldValue + "\n";
  const std::string after_ = "[A]\nx=" + kNewValue + "\n";
};

TEST_F(DisturbedTest, AFullDiskKeepsTheOldFile) {
  for (const auto kind : {Disturbance::kFailOnce, Disturbance::kFailHalfway,
                          Disturbance::kFailHalfwayAndOn, Disturbance::kFailFromThere}) {
    for (const bool exists : {true, false}) {
      Outcome outcome = {false, true};
      for (int n = 1; outcome.reached; ++n) {
        SCOPED_TRACE(testing::Message() << "call " << n << ", kind " << static_cast<int>(kind));
        fs::remove(ini_);
        if (exists) writeFile(ini_, before_);
        outcome = setDisturbed(ini_, n, kind);
        const std::string old = exists ? before_ : "(missing)";
        EXPECT_EQ(readFile(ini_), outcome.stored ? (exists ? after_ : after_ + "\n") : old);
        EXPECT_EQ(files().size(), outcome.stored || exists ? 1u : 0u);
        ASSERT_LT(n, 100);
      }
      EXPECT_TRUE(outcome.stored);
    }
  }
}

TEST_F(DisturbedTest, AProcessThatEndsLeavesTheOldFileOrTheNew) {
  for (const auto kind :
       {Disturbance::kEndBefore, Disturbance::kEndHalfway, Disturbance::kEndAfter}) {
    for (int n = 1, code = kEnded; code == kEnded; ++n) {
      SCOPED_TRACE(testing::Message() << "call " << n << ", kind " << static_cast<int>(kind));
      writeFile(ini_, before_);
      code = Process("disturbed", {ini_, std::to_string(n), std::to_string(static_cast<int>(kind))})
                 .wait();
      const std::string left = readFile(ini_);
      EXPECT_TRUE(left == before_ || left == after_) << left.size();
      EXPECT_TRUE(Cache().set(ini_, "A", "x", kNewValue));
      EXPECT_TRUE(Cache().set(ini_, "A", "x", kOldValue));
      EXPECT_EQ(readFile(ini_), before_);
      EXPECT_EQ(files().size(), 1u);
      ASSERT_LT(n, 100);
    }
  }
}

// ---- INI files: several processes

constexpr int kVariables = 60;

int setter(const Arguments &arguments) {
  Cache cache;
  for (int i = 0; i < kVariables; ++i) {
    const std::string name = arguments[1] + "_" + std::to_string(i);
    if (!cache.set(arguments[0], i % 2 == 0 ? "A" : "B", name, name)) return 1;
  }
  return 0;
}
const processes::Role setterRole("setter", setter);

TEST_F(ComponentTest, NothingIsLostWhenProcessesSetVariablesOfOneFile) {
  // The file is made by whoever comes first.
  std::vector<std::unique_ptr<Process>> programs;
  for (const char *name : {"p", "q", "r", "s"}) {
    programs.push_back(std::make_unique<Process>("setter", Arguments{ini_, name}));
  }
  for (const auto &program : programs) EXPECT_EQ(program->wait(), 0);
  Cache cache;
  for (const char *name : {"p", "q", "r", "s"}) {
    for (int i = 0; i < kVariables; ++i) {
      const std::string variable = std::string(name) + "_" + std::to_string(i);
      EXPECT_EQ(cache.get(ini_, i % 2 == 0 ? "A" : "B", variable.c_str()), variable);
    }
  }
  EXPECT_EQ(cache.groups(ini_).size(), 3u) << "each group once";
  EXPECT_EQ(files(), (std::vector<std::string>{"zk.ini"}));
}

// Every value is one letter over and over.
int rewriter(const Arguments &arguments) {
  Cache cache;
  processes::say("ready");
  for (int i = 0;; ++i) {
    const std::string value(static_cast<std::size_t>(20'000 + i % 7),
                            static_cast<char>('a' + i % 26));
    if (!cache.set(arguments[0], "A", "v" + std::to_string(i % 5), value)) return 1;
  }
}
const processes::Role rewriterRole("rewriter", rewriter);

TEST_F(ComponentTest, KilledProcessesLeaveAWholeFileAndNoLock) {
  Cache cache;
  for (int round = 0; round < 25; ++round) {
    Process one("rewriter", {ini_});
    Process other("rewriter", {ini_});
    ASSERT_EQ(one.line(), "ready");
    ASSERT_EQ(other.line(), "ready");
    std::this_thread::sleep_for(std::chrono::milliseconds(10 + round * 3));
    one.kill();
    other.kill();
    const auto start = std::chrono::steady_clock::now();
    EXPECT_TRUE(cache.set(ini_, "A", "round", std::to_string(round)));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
    for (const char *name : {"v0", "v1", "v2", "v3", "v4"}) {
      const std::string value = cache.get(ini_, "A", name);
      if (value == "(null)") continue;
      EXPECT_GE(value.size(), 20'000u);
      EXPECT_EQ(value, std::string(value.size(), value[0])) << name;
    }
    EXPECT_EQ(files(), (std::vector<std::string>{"zk.ini"})) << "what was left is cleaned up";
  }
}

// ---- Through the library

TEST_F(ComponentTest, TheLibraryReadsAndWritesSettingsThroughIt) {
  EXPECT_EQ(zk_Env_getIni("GENERAL", "NAME"), nullptr);
  // UTF-8 of every length, and bytes that are none.
  for (const char *value : {"plain", "\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80",
                            "a\xE4"
                            "b\xFF",
                            "\xC0\x80\xED\xA0\x80\xF4\x90\x80\x80", "\xE2\x82"}) {
    EXPECT_EQ(zk_Env_setIni("GENERAL", "NAME", value), 0);
    EXPECT_STREQ(zk_Env_getIni("general", "Name"), value);
    EXPECT_EQ(readFile(ini_), std::string("[GENERAL]\nNAME=") + value + "\n\n");
  }
  // In another spelling, as Windows programs write names.
  std::string spelled = path("ZK.INI");
  std::replace(spelled.begin(), spelled.end(), '/', '\\');
  if (spelled[1] != ':') spelled = "C:" + spelled;
  EXPECT_EQ(zk_Ini_set(spelled.c_str(), "GENERAL", "NAME", "new"), 0);
  EXPECT_STREQ(zk_Env_getIni("GENERAL", "NAME"), "new");
  EXPECT_EQ(files(), (std::vector<std::string>{"zk.ini"}));
  EXPECT_NE(zk_File_exists(spelled.c_str()), 0);
}

TEST_F(ComponentTest, AnswersForFilesAndDirectories) {
  const auto application = create<IZkApplication>(ZK_CLSID_APPLICATION, ZK_IID_APPLICATION);
  const auto ask = [&](const std::string &name) {
    VARIANT_BOOL file = 2;
    VARIANT_BOOL directory = 2;
    EXPECT_EQ(application->FileExists(Text(name), &file), S_OK);
    EXPECT_EQ(application->DirectoryExists(Text(name), &directory), S_OK);
    return std::string(file ? "file" : "") + (directory ? "directory" : "");
  };
  EXPECT_EQ(ask(ini_), "");
  writeFile(ini_, "");
  EXPECT_EQ(ask(ini_), "file");
  EXPECT_EQ(ask(path("ZK.Ini")), "file");
  EXPECT_EQ(ask(ini_ + "/x"), "");
  EXPECT_EQ(ask(folder_.string()), "directory");
  EXPECT_EQ(ask(folder_.string() + "\\"), "directory");
  EXPECT_EQ(ask(""), "");
  fs::remove(ini_);
  EXPECT_EQ(ask(ini_), "") << "nothing is remembered";
}

TEST_F(ComponentTest, FindsTheConfigurationDirectory) {
  const auto directory =
      create<IZkConfigurationDirectory>(ZK_CLSID_APPLICATION, ZK_IID_CONFIGURATION_DIRECTORY);
  const auto now = [&] {
    Text result;
    EXPECT_EQ(directory->GetDirectory(result.out()), S_OK);
    return fs::path(result.str());
  };
  const auto own = [&](const std::string &base, const std::string &home) {
    environment("XDG_CONFIG_HOME", base);
    environment("HOME", path(home));
    environment("APPDATA", path(home + "/.config"));
    return now();
  };
  EXPECT_EQ(now(), folder_);
  environment("ZK_CONFIG_DIR", "");
  EXPECT_EQ(own("relative", "home"), folder_ / "home/.config/zk");
  EXPECT_TRUE(fs::is_directory(now())) << "made, so that files can be written";
  EXPECT_EQ(own(path("home/.config"), "home"), folder_ / "home/.config/zk");
  writeFile(path("file"), "");
  const fs::path last = own("", "file");
  const auto isComponent = [](const auto &entry) {
    return entry.path().stem() == "JNApplication2";
  };
  EXPECT_TRUE(std::any_of(fs::directory_iterator(last), {}, isComponent)) << last;
}

// ---- Translations

class TranslatorTest : public ComponentTest {
 protected:
  TranslatorTest() {
    fs::create_directory(folder_ / "language");
    writeFile(ini_, "[GENERAL]\nLANGUAGE=GERMAN\nJN=" + folder_.string() + "\n");
  }

  struct Message {
    const char *number;
    const char *english;
    const char *text;
  };
  std::string tablePath(const std::string &name) { return path("language/" + name); }
  void append(int32_t table, const Message &message) {
    support::appendRecord(table, {{"MSG_NO", message.number}, {"MSG_NAME", message.text}});
    if (message.english[0] == '\0') return;
    support::assign(table, {{"MSG_ENGLIS", message.english}});
    zk_Db_writeRec(table);
  }
  void makeTable(const std::string &name, const std::vector<Message> &messages) {
    const bool english = messages.front().english[0] != '\0';
    const int32_t table = support::createTable(
        tablePath(name),
        english ? "MSG_NO C 10, MSG_NAME C 60, MSG_ENGLIS C 60" : "MSG_NO C 10, MSG_NAME C 60");
    for (const Message &message : messages) append(table, message);
    zk_Db_closeDb(table);
  }
  std::string translate(const char *text, const char *id, int32_t layout = 0) {
    Text result;
    EXPECT_EQ(translator_->Translate(Text(text), Text(id), layout, result.out()), S_OK);
    return result.str();
  }

  const Com<IZkTranslator> translator_ =
      create<IZkTranslator>(ZK_CLSID_APPLICATION, ZK_IID_TRANSLATOR);
};

TEST_F(TranslatorTest, FindsMessagesByNumberAndByText) {
  makeTable("TOOL_GERMAN.dbf", {{"216", "", "Speicher: \\\"zu wenig\\\""}, {" 7", "", "sieben"}});
  makeTable("DBCOLS_GERMAN.dbf",
            {{"1", "Pipe", "Rohr"}, {"2", "Valve, big", "Ventil"}, {"3", "x", ""}});
  makeTable("SEP_GERMAN.dbf", {{",", "", ";"}});
  makeTable("MY_APP_GERMAN.dbf", {{"1", "", "eins"}});
  const struct {
    const char *text;
    const char *id;
    const char *translation;
  } cases[] = {
      {"Unable to allocate", "TOOL_216", "Speicher: \"zu wenig\""},
      {"", "tool_7", "sieben"},
      {"x", "TOOL_8", "(null)"},
      {"x", "TOOL_0216", "(null)"},
      {"216", "TOOL", "Speicher: \"zu wenig\""},
      {"Pipe", "DBCols", "Rohr"},
      {"Valve, big ", "DBCols", "Ventil"},
      {"pipe", "DBCols", "(null)"},
      {"x", "DBCols", "(null)"},
      {",", "SEP", ";"},
      {"", "MY_APP_1", "eins"},
      {"x", "MY_APP_", "(null)"},
      {"x", "NONE_1", "(null)"},
      {"x", "_1", "(null)"},
      {"x", "", "(null)"},
  };
  for (const auto &c : cases) EXPECT_EQ(translate(c.text, c.id), c.translation) << c.id;

  const char *const layouts[] = {"sieben",    "sieben ",    "\nsieben",    "\nsieben ", "sieben\n",
                                 "sieben \n", "\nsieben\n", "\nsieben \n", "sieben"};
  for (int32_t i = 0; i <= 8; ++i) EXPECT_EQ(translate("", "TOOL_7", i), layouts[i]) << i;
  EXPECT_EQ(translate("", "TOOL_7", -1), "sieben");

  Text language;
  EXPECT_EQ(translator_->GetLanguage(language.out()), S_OK);
  EXPECT_EQ(language.str(), "GERMAN");
}

// Tables are read once and are not open between calls; a change has to be told.
TEST_F(TranslatorTest, RemembersTablesUntilTheyAreRevalidated) {
  EXPECT_EQ(translate("", "TOOL_1"), "(null)");
  makeTable("TOOL_GERMAN.dbf", {{"1", "", "eins"}, {"2", "", "zwei"}});
  EXPECT_EQ(translate("", "TOOL_1"), "(null)") << "that there was none is remembered";
  zk_File_revalidate(tablePath("tool_german.dbf").c_str());
  EXPECT_EQ(translate("", "TOOL_1"), "eins");

  const int32_t table = support::openTable(tablePath("TOOL_GERMAN.dbf"), 2);
  ASSERT_NE(table, -1) << "nobody else has it open";
  append(table, {"3", "", "drei"});
  zk_Db_topRec(table, -1);
  zk_Db_delRec(table);
  zk_Db_writeRec(table);
  EXPECT_EQ(translate("", "TOOL_1") + translate("", "TOOL_3"), "eins(null)");
  zk_File_revalidate("other_german.dbf");
  EXPECT_EQ(translate("", "TOOL_1"), "eins");
  zk_File_revalidate("c:\\any\\TOOL_GERMAN.DBF");
  EXPECT_EQ(translate("", "TOOL_3"), "(null)") << "in use exclusively";
  zk_Db_closeAll();
  EXPECT_EQ(translate("", "TOOL_1") + translate("", "TOOL_3"), "(null)drei")
      << "being in use is not remembered, deleted records do not count";
}

TEST_F(TranslatorTest, LeavesTheHostsTextsAndErrorsBoxesAlone) {
  makeTable("TOOL_GERMAN.dbf", {{"1", "", "eins"}});
  const char *directory = zk_Env_getIni("GENERAL", "JN");
  const int boxes = zk_Db_setErrorBoxes(1);
  static int shown;
  shown = 0;
  zk_Host_setMessagePresenter([](const char *, const char *, void *) { ++shown; }, nullptr);
  EXPECT_EQ(translate("", "TOOL_1") + translate("", "NONE_1"), "eins(null)");
  zk_Host_setMessagePresenter(nullptr, nullptr);
  EXPECT_EQ(shown, 0);
  EXPECT_EQ(zk_Db_setErrorBoxes(boxes), 1);
  EXPECT_EQ(directory, folder_.string());
}

int catalogue(const Arguments &arguments) {
  processes::say(zk_Msg("Unable to allocate", "TOOL_216", 5));
  processes::say(zk_Msg("unknown", "TOOL_1", 1));
  // Every request of the library refused, from the n-th on: its text for that is one of the
  // table's.
  bool wrong = false;
  support::allocator.forEver = true;
  for (int n = 1; support::allocator.asked + 1 >= n; ++n) {
    zk_File_revalidate(arguments[0].c_str());
    support::allocator.asked = 0;
    support::allocator.failAt = n;
    const std::string text = zk_Msg("No memory", "TOOL_216", 1);
    support::allocator.failAt = 0;
    wrong = wrong || (text != "No memory" && text != "Kein Speicher");
  }
  processes::say(wrong ? "wrong" : zk_Msg("No memory", "TOOL_216", 1));
  return 0;
}
const processes::Role catalogueRole("catalogue", catalogue);

TEST_F(TranslatorTest, TheCatalogueAnswersInTheUsersLanguage) {
  makeTable("TOOL_GERMAN.dbf", {{"216", "", "Kein Speicher"}});
  Process program("catalogue", {tablePath("TOOL_GERMAN.dbf")});
  EXPECT_EQ(program.line(), "Kein Speicher");
  EXPECT_EQ(program.line(), "") << "laid out by the translator";
  EXPECT_EQ(program.line(), "unknown");
  EXPECT_EQ(program.line(), "Kein Speicher");
  EXPECT_EQ(program.wait(), 0);
}

// ---- Objects

TEST_F(ComponentTest, FollowsTheRulesOfCom) {
  zk_Global_destroyData();
  EXPECT_EQ(canUnloadNow(), S_OK);
  void *object = &object;
  EXPECT_EQ(getClassObject(ZK_IID_FIELD, IID_IUnknown, &object), CLASS_E_CLASSNOTAVAILABLE);
  EXPECT_EQ(object, nullptr);
  EXPECT_EQ(getClassObject(ZK_CLSID_FIELD, ZK_IID_FIELD, &object), E_NOINTERFACE);
  EXPECT_EQ(getClassObject(ZK_CLSID_FIELD, IID_IClassFactory, nullptr), E_POINTER);

  const struct {
    const GUID &classId;
    std::vector<GUID> interfaces;
  } classes[] = {
      {ZK_CLSID_APPLICATION,
       {ZK_IID_APPLICATION, ZK_IID_TRANSLATOR, ZK_IID_CONFIGURATION_CACHE,
        ZK_IID_CONFIGURATION_DIRECTORY}},
      {ZK_CLSID_VARIABLES_LIST, {ZK_IID_VARIABLES_LIST}},
      {ZK_CLSID_FIELD_LIST, {ZK_IID_FIELD_LIST}},
      {ZK_CLSID_FIELD, {ZK_IID_FIELD}},
  };
  for (const auto &c : classes) {
    Com<IClassFactory> factory;
    ASSERT_EQ(getClassObject(c.classId, IID_IClassFactory, factory.outAny()), S_OK);
    Com<IUnknown> first;
    EXPECT_EQ(factory->CreateInstance(factory.get(), IID_IUnknown, first.outAny()),
              CLASS_E_NOAGGREGATION);
    EXPECT_EQ(factory->CreateInstance(nullptr, ZK_CLSID_FIELD, first.outAny()), E_NOINTERFACE);
    EXPECT_FALSE(first);
    ASSERT_EQ(factory->CreateInstance(nullptr, IID_IUnknown, first.outAny()), S_OK);
    for (const GUID &identity : c.interfaces) {
      Com<IDispatch> other;
      ASSERT_EQ(first->QueryInterface(identity, other.outAny()), S_OK);
      Com<IUnknown> same;
      ASSERT_EQ(other->QueryInterface(IID_IUnknown, same.outAny()), S_OK);
      EXPECT_EQ(same.get(), first.get());
      UINT count = 0;
      EXPECT_EQ(other->GetTypeInfoCount(&count), E_NOTIMPL);
      EXPECT_EQ(other->QueryInterface(identity, nullptr), E_POINTER);
    }
    EXPECT_EQ(canUnloadNow(), S_FALSE);
  }
  EXPECT_EQ(canUnloadNow(), S_OK) << "a reference is left";
}

// An object that only counts.
struct Counted : IUnknown {
  ULONG references = 1;
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void **) override { return E_NOINTERFACE; }
  ULONG STDMETHODCALLTYPE AddRef() override { return ++references; }
  ULONG STDMETHODCALLTYPE Release() override { return --references; }
};

TEST_F(ComponentTest, VariablesListsKeepOrderAndKeys) {
  Counted counted;
  {
    const auto list = create<IZkVariablesList>(ZK_CLSID_VARIABLES_LIST, ZK_IID_VARIABLES_LIST);
    const auto add = [&](const char *key, const char *name, VARIANT value) {
      Com<IZkVariablesItem> item;
      return list->Add(Text(key), Text(name), value, item.out());
    };
    VARIANT object = {};
    object.vt = VT_UNKNOWN;
    object.punkVal = &counted;
    const Text text("one");
    EXPECT_EQ(add("a", "A", keyVariant(text)), S_OK);
    EXPECT_EQ(add("b", "B", object), S_OK);
    EXPECT_EQ(add("c", "C", number(3)), S_OK);
    EXPECT_EQ(add("b", "again", number(4)), E_INVALIDARG);
    EXPECT_EQ(contents(list), "A=one B C");
    EXPECT_EQ(counted.references, 2u);

    Com<IZkVariablesItem> item;
    EXPECT_EQ(list->Item(keyVariant("b"), item.out()), S_OK);
    EXPECT_EQ(list->Remove(Text("b")), S_OK);
    EXPECT_EQ(list->Remove(Text("b")), DISP_E_BADINDEX);
    EXPECT_EQ(contents(list), "A=one C");
    VARIANT value = {};
    EXPECT_EQ(item->GetValue(&value), S_OK) << "a removed item lives on with its user";
    EXPECT_EQ(counted.references, 3u);
    VariantClear(&value);
    EXPECT_EQ(item->PutValue(number(5)), S_OK);
    EXPECT_EQ(counted.references, 1u);
    EXPECT_EQ(item->PutName(Text("new")), S_OK);
    Text name;
    Text key;
    item->GetName(name.out());
    item->GetKey(key.out());
    EXPECT_EQ(name.str() + key.str(), "newb");
    for (const VARIANT &index : {number(0), number(3), number(-1), number(1, VT_R8), VARIANT{}}) {
      Com<IZkVariablesItem> none;
      EXPECT_EQ(list->Item(index, none.out()), DISP_E_BADINDEX);
      EXPECT_FALSE(none);
    }
    EXPECT_EQ(add("d", "D", object), S_OK);
  }
  EXPECT_EQ(counted.references, 1u);
}

TEST_F(ComponentTest, ARecordBecomesAnObjectAndBack) {
  const support::List record = support::fieldList("PART C 10, QTY N 7 2, NOTE M");
  zk_DbFldList_start(record.get());
  IUnknown *object = nullptr;
  ASSERT_EQ(zk_ConvertDBFldListToJNFldList(record.get(), &object), 1);
  DbFldList *back = nullptr;
  EXPECT_EQ(zk_ConvertJNFldListToDBFldList(object, &back), 1);
  const support::List owner(back);
  ASSERT_NE(back, nullptr);
  ASSERT_EQ(back->length, 3u);
  const auto *quantity = static_cast<const DbFldNode *>(back->first->next->data);
  EXPECT_STREQ(quantity->name, "QTY");
  EXPECT_EQ(quantity->type, 'N');
  EXPECT_EQ(quantity->width, 7);
  EXPECT_EQ(quantity->prec, 2);
  object->Release();

  const auto field = create<IZkField>(ZK_CLSID_FIELD, ZK_IID_FIELD);
  VARIANT_BOOL empty = VARIANT_FALSE;
  Text value;
  EXPECT_EQ(field->GetEmpty(&empty), S_OK);
  EXPECT_EQ(empty, VARIANT_TRUE);
  EXPECT_EQ(field->PutValue(Text("v")), S_OK);
  EXPECT_EQ(field->GetValue(value.out()), S_OK);
  EXPECT_EQ(value.str(), "v");
  EXPECT_EQ(field->PutEmpty(VARIANT_TRUE), S_OK);
  EXPECT_EQ(field->GetValue(value.out()), S_OK);
  EXPECT_TRUE(value.isNull());
}

TEST_F(ComponentTest, NullArgumentsAreAnswered) {
  const auto application = create<IZkApplication>(ZK_CLSID_APPLICATION, ZK_IID_APPLICATION);
  const auto translator = create<IZkTranslator>(ZK_CLSID_APPLICATION, ZK_IID_TRANSLATOR);
  const auto list = create<IZkVariablesList>(ZK_CLSID_VARIABLES_LIST, ZK_IID_VARIABLES_LIST);
  const auto fields = create<IZkFieldList>(ZK_CLSID_FIELD_LIST, ZK_IID_FIELD_LIST);
  const auto field = create<IZkField>(ZK_CLSID_FIELD, ZK_IID_FIELD);
  Cache cache;
  int16_t stored = 1;
  Text text;
  EXPECT_EQ(application->FileExists(nullptr, nullptr), E_POINTER);
  EXPECT_EQ(application->Revalidate(nullptr), S_OK);
  EXPECT_EQ(cache->GetValue(nullptr, nullptr, nullptr, VARIANT_TRUE, text.out()), S_OK);
  EXPECT_EQ(cache->GetValue(nullptr, nullptr, nullptr, VARIANT_TRUE, nullptr), E_POINTER);
  EXPECT_EQ(cache->SetValue(nullptr, nullptr, nullptr, nullptr, &stored), S_OK);
  EXPECT_EQ(stored, 0);
  EXPECT_EQ(cache->SetValue(nullptr, nullptr, nullptr, nullptr, nullptr), E_POINTER);
  EXPECT_EQ(cache->GetGroup(nullptr, nullptr, nullptr), E_POINTER);
  EXPECT_EQ(cache->ListGroups(nullptr, nullptr), E_POINTER);
  EXPECT_EQ(cache->AddGroup(nullptr, nullptr), E_INVALIDARG);
  EXPECT_EQ(cache->RemoveGroup(nullptr, nullptr), S_FALSE);
  EXPECT_EQ(cache->Reload(nullptr, nullptr), E_POINTER);
  EXPECT_EQ(translator->GetLanguage(nullptr), E_POINTER);
  EXPECT_EQ(translator->Translate(nullptr, nullptr, 0, text.out()), S_OK);
  EXPECT_EQ(list->Add(nullptr, nullptr, VARIANT{}, nullptr), E_POINTER);
  EXPECT_EQ(list->Item(number(1), nullptr), E_POINTER);
  EXPECT_EQ(list->Remove(nullptr), DISP_E_BADINDEX);
  EXPECT_EQ(list->Count(nullptr), E_POINTER);
  EXPECT_EQ(fields->Add(nullptr), E_POINTER);
  EXPECT_EQ(fields->Item(number(1, VT_INT), nullptr), E_POINTER);
  EXPECT_EQ(field->PutName(nullptr), S_OK);
  EXPECT_EQ(field->GetEmpty(nullptr), E_POINTER);
}

// ---- Refused memory

// Makes the call with the n-th request refused, for every n that it comes to, and then undisturbed.
void forEveryRequest(support::Allocator &requests, const std::function<HRESULT()> &call,
                     const std::function<void(HRESULT)> &check) {
  for (int n = 1;; ++n) {
    SCOPED_TRACE(testing::Message() << "request " << n);
    requests.asked = 0;
    requests.failAt = n;
    const HRESULT result = call();
    requests.failAt = 0;
    if (requests.asked < n) {
      EXPECT_TRUE(SUCCEEDED(result));
      return;
    }
    check(result);
    ASSERT_LT(n, 1000);
  }
}

TEST_F(TranslatorTest, RefusedMemoryIsToldAndNothingIsLost) {
  makeTable("TOOL_GERMAN.dbf", {{"1", "", "eins"}});
  Cache cache;
  const std::string before = readFile(ini_);
  const Text file(ini_);
  const Text group("GENERAL");
  const Text name("NEW");
  const Text value("value");
  const Text message("TOOL_1");
  const auto expectNoMemory = [](HRESULT result) { EXPECT_EQ(result, E_OUTOFMEMORY); };

  int16_t stored = 0;
  forEveryRequest(
      ofComponent,
      [&] {
        cache->Reset();
        return cache->SetValue(file, group, name, value, &stored);
      },
      [&](HRESULT result) {
        expectNoMemory(result);
        EXPECT_EQ(readFile(ini_), before);
        EXPECT_EQ(files(), (std::vector<std::string>{"language", "zk.ini"}));
      });
  EXPECT_NE(stored, 0);
  Text found;
  forEveryRequest(
      ofComponent, [&] { return cache->GetValue(file, group, name, VARIANT_TRUE, found.out()); },
      expectNoMemory);
  EXPECT_EQ(found.str(), "value");
  forEveryRequest(
      ofComponent,
      [&] {
        Com<IZkVariablesList> list;
        return cache->GetGroup(file, group, list.out());
      },
      expectNoMemory);
  forEveryRequest(
      ofComponent, [&] { return translator_->Translate(value, message, 0, found.out()); },
      [&](HRESULT result) {
        // The library may have needed the component, and done without.
        const bool answered = found.isNull() || found.str() == "eins";
        EXPECT_TRUE(result == E_OUTOFMEMORY || (result == S_OK && answered)) << found.str();
      });
  EXPECT_EQ(found.str(), "eins");
}

// The library reads tables and settings for the translator, while it may want texts itself.
TEST_F(TranslatorTest, TheLibraryMayLackMemoryMeanwhile) {
  ASSERT_TRUE(support::installed);
  // So that the library has its component: it would remember that it could not be made.
  ASSERT_STREQ(zk_Env_getIni("GENERAL", "LANGUAGE"), "GERMAN");
  makeTable("TOOL_GERMAN.dbf", {{"1", "", "eins"}});
  const Text message("TOOL_1");
  for (const bool andAllAfter : {false, true}) {
    support::allocator.forEver = andAllAfter;
    forEveryRequest(
        support::allocator,
        [&] {
          zk_File_revalidate("TOOL_GERMAN.dbf");
          zk_Db_closeAll();
          Text found;
          return translator_->Translate(nullptr, message, 0, found.out());
        },
        [&](HRESULT result) {
          EXPECT_EQ(result, S_OK);
          EXPECT_EQ(translate("", "TOOL_1"), "eins") << "a refusal is not remembered";
        });
  }
}

}  // namespace
