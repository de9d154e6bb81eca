#include <new>

#include "component/System.h"

namespace zk::component {

WideView wideView(BSTR text) {
  return text != nullptr ? WideView(text, SysStringLen(text)) : WideView();
}

BSTR newBstr(WideView text) {
  const BSTR result = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
  if (result == nullptr) throw std::bad_alloc();
  return result;
}

std::string toText(WideView text) {
  const int units = static_cast<int>(text.size());
  if (units == 0) return {};
  const int bytes =
      WideCharToMultiByte(CP_ACP, 0, text.data(), units, nullptr, 0, nullptr, nullptr);
  std::string result(static_cast<std::size_t>(bytes), '\0');
  WideCharToMultiByte(CP_ACP, 0, text.data(), units, result.data(), bytes, nullptr, nullptr);
  return result;
}

WideText toWide(std::string_view text) {
  const int bytes = static_cast<int>(text.size());
  if (bytes == 0) return {};
  const int units = MultiByteToWideChar(CP_ACP, 0, text.data(), bytes, nullptr, 0);
  WideText result(static_cast<std::size_t>(units), L'\0');
  MultiByteToWideChar(CP_ACP, 0, text.data(), bytes, result.data(), units);
  return result;
}

HRESULT copyVariant(VARIANT &to, const VARIANT &from) {
  VARIANT source = from;  // which is not changed, though its type does not say so
  VariantInit(&to);
  return VariantCopy(&to, &source);
}

}  // namespace zk::component
