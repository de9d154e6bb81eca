// Making COM objects, and texts that cross to them.
#pragma once

#include <cstddef>

#include "base/Memory.h"
#include "zk/com.h"

namespace zk::platform {

// Makes an object of a class that is registered with the system (Linux: with registerClass) or,
// where it is not, by the DllGetClassObject of the module `file` beside this library (without
// extension; null: no such fallback). The object is running and holds one reference.
HRESULT createObject(const GUID &classId, const char *file, IUnknown **object) noexcept;

// Makes a class available in this process; the factory is kept until revoked.
HRESULT registerClass(const GUID &classId, IUnknown *factory, std::uint32_t &cookie) noexcept;
HRESULT revokeClass(std::uint32_t cookie) noexcept;

// Readies COM on this thread. Linux: nothing to do.
void initializeCom() noexcept;

// A new BSTR of a text in the current code page. Null when memory is refused.
BSTR toBstr(const char *text, std::size_t length) noexcept;

// The text in the current code page; characters that it lacks become "?". Linux: UTF-8, and bytes
// that are none survive the way there and back. Throws std::bad_alloc.
base::String fromBstr(BSTR text);

}  // namespace zk::platform
