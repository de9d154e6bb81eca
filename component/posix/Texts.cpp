#include <cstring>
#include <new>

#include "component/System.h"

namespace zk::component {
namespace {

// A byte that is no UTF-8 crosses as the lone low surrogate 0xDC00 + byte.
constexpr char32_t kStrayByte = 0xDC00;

bool isContinuation(char byte) { return (static_cast<unsigned char>(byte) & 0xC0) == 0x80; }

// Takes the character that `text` begins with off it; a stray byte counts as one.
char32_t nextCharacter(std::string_view &text) {
  const auto lead = static_cast<unsigned char>(text.front());
  const std::size_t length = lead < 0x80 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
  char32_t character = length == 1 ? lead : lead & (0xFFu >> (length + 1));
  bool valid = lead < 0x80 || (lead >= 0xC2 && lead <= 0xF4 && length <= text.size());
  for (std::size_t i = 1; valid && i < length; ++i) {
    valid = isContinuation(text[i]);
    character = character << 6 | (static_cast<unsigned char>(text[i]) & 0x3F);
  }
  const char32_t least = length == 3 ? 0x800 : length == 4 ? 0x10000 : 0;
  const bool surrogate = character >= 0xD800 && character < 0xE000;
  if (!valid || character < least || surrogate || character > 0x10FFFF) {
    text.remove_prefix(1);
    return kStrayByte + lead;
  }
  text.remove_prefix(length);
  return character;
}

void appendUtf8(std::string &text, char32_t character) {
  if (character < 0x80) {
    text += static_cast<char>(character);
    return;
  }
  const int more = character < 0x800 ? 1 : character < 0x10000 ? 2 : 3;
  text += static_cast<char>(0xFF00 >> (more + 1) | character >> (6 * more));
  for (int i = more; i-- > 0;) text += static_cast<char>(0x80 | (character >> (6 * i) & 0x3F));
}

bool isHighSurrogate(char32_t unit) { return unit >= 0xD800 && unit < 0xDC00; }
bool isLowSurrogate(char32_t unit) { return unit >= 0xDC00 && unit < 0xE000; }

}  // namespace

WideView wideView(BSTR text) { return {text, SysStringLen(text)}; }

BSTR newBstr(WideView text) {
  const BSTR result = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
  if (result == nullptr) throw std::bad_alloc();
  return result;
}

std::string toText(WideView text) {
  std::string result;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char32_t unit = text[i];
    const char32_t next = i + 1 < text.size() ? text[i + 1] : 0;
    if (isHighSurrogate(unit) && isLowSurrogate(next)) {
      appendUtf8(result, 0x10000 + ((unit - 0xD800) << 10) + (next - 0xDC00));
      ++i;
    } else if (unit >= kStrayByte + 0x80 && unit <= kStrayByte + 0xFF) {
      result += static_cast<char>(unit - kStrayByte);
    } else if (isHighSurrogate(unit) || isLowSurrogate(unit)) {
      result += '?';
    } else {
      appendUtf8(result, unit);
    }
  }
  return result;
}

WideText toWide(std::string_view text) {
  WideText wide;
  while (!text.empty()) {
    const char32_t character = nextCharacter(text);
    if (character < 0x10000) {
      wide += static_cast<char16_t>(character);
    } else {
      wide += static_cast<char16_t>(0xD7C0 + (character >> 10));
      wide += static_cast<char16_t>(0xDC00 + (character & 0x3FF));
    }
  }
  return wide;
}

HRESULT copyVariant(VARIANT &to, const VARIANT &from) {
  VARIANT copy = from;
  if (from.vt == VT_BSTR && from.bstrVal != nullptr) {
    copy.bstrVal = newBstr(wideView(from.bstrVal));
  } else if ((from.vt == VT_UNKNOWN || from.vt == VT_DISPATCH) && from.punkVal != nullptr) {
    from.punkVal->AddRef();
  }
  to = copy;
  return S_OK;
}

}  // namespace zk::component
