/* The binary types of COM that the library exchanges with components: on Windows the system's own
 * (objbase.h, oleauto.h); on Linux the same layouts under the same names, so that components and
 * hosts are written once. Together with types.h the only public header that asks for the system.
 *
 * Interfaces are declared with the customary macros (DECLARE_INTERFACE_, STDMETHOD, PURE, THIS_):
 * abstract classes in C++, tables of function pointers (object->lpVtbl->Method(object, ...)) in C.
 *
 * Linux: texts are UTF-16 in BSTRs, as on Windows. A BSTR, like a Windows one, points behind a
 * four-byte length and ends with a zero; it comes from the C runtime's malloc, so that any module
 * of the process may release it.
 */
#ifndef ZK_COM_H
#define ZK_COM_H

#include "zk/types.h"

#if defined(_WIN32)

#if !defined(__cplusplus) && !defined(COBJMACROS)
#define COBJMACROS
#endif
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>
#include <objbase.h>
#include <oleauto.h>

#else

#include <stdlib.h>
#include <string.h>

typedef int32_t HRESULT;
typedef int32_t LONG;
typedef uint32_t ULONG;
typedef uint32_t DWORD;
typedef uint32_t LCID;
typedef int32_t DISPID;
typedef uint32_t UINT;
typedef uint16_t WORD;
typedef int32_t BOOL;
typedef uint16_t VARTYPE;
typedef int16_t VARIANT_BOOL;
#if defined(__cplusplus)
typedef char16_t OLECHAR;
#else
typedef uint_least16_t OLECHAR;
#endif
typedef OLECHAR *BSTR;

typedef struct GUID {
  uint32_t Data1;
  uint16_t Data2;
  uint16_t Data3;
  uint8_t Data4[8];
} GUID;
typedef GUID IID;
typedef GUID CLSID;
#if defined(__cplusplus)
typedef const GUID &REFIID;
typedef const GUID &REFCLSID;
inline bool operator==(REFIID a, REFIID b) { return memcmp(&a, &b, sizeof(GUID)) == 0; }
#else
typedef const GUID *REFIID;
typedef const GUID *REFCLSID;
#endif

#define S_OK ((HRESULT)0)
#define S_FALSE ((HRESULT)1)
#define E_NOTIMPL ((HRESULT)0x80004001)
#define E_NOINTERFACE ((HRESULT)0x80004002)
#define E_POINTER ((HRESULT)0x80004003)
#define E_FAIL ((HRESULT)0x80004005)
#define E_OUTOFMEMORY ((HRESULT)0x8007000E)
#define E_INVALIDARG ((HRESULT)0x80070057)
#define CLASS_E_NOAGGREGATION ((HRESULT)0x80040110)
#define CLASS_E_CLASSNOTAVAILABLE ((HRESULT)0x80040111)
#define REGDB_E_CLASSNOTREG ((HRESULT)0x80040154)
#define DISP_E_BADINDEX ((HRESULT)0x8002000B)
#define DISP_E_UNKNOWNNAME ((HRESULT)0x80020006)
#define SUCCEEDED(result) ((HRESULT)(result) >= 0)
#define FAILED(result) ((HRESULT)(result) < 0)

#define VARIANT_TRUE ((VARIANT_BOOL)-1)
#define VARIANT_FALSE ((VARIANT_BOOL)0)
enum {
  VT_EMPTY = 0,
  VT_NULL = 1,
  VT_I2 = 2,
  VT_I4 = 3,
  VT_R4 = 4,
  VT_R8 = 5,
  VT_CY = 6,
  VT_DATE = 7,
  VT_BSTR = 8,
  VT_DISPATCH = 9,
  VT_ERROR = 10,
  VT_BOOL = 11,
  VT_VARIANT = 12,
  VT_UNKNOWN = 13,
  VT_I1 = 16,
  VT_UI1 = 17,
  VT_UI2 = 18,
  VT_UI4 = 19,
  VT_I8 = 20,
  VT_UI8 = 21,
  VT_INT = 22,
  VT_UINT = 23,
  VT_ARRAY = 0x2000,
  VT_BYREF = 0x4000
};

struct IUnknown;
struct IDispatch;
struct ITypeInfo;
struct tagDISPPARAMS;
struct tagEXCEPINFO;

/* Layout as on 64-bit Windows: the type at 0, the value at 8, 24 bytes in all. */
typedef struct VARIANT {
  VARTYPE vt;
  WORD wReserved1;
  WORD wReserved2;
  WORD wReserved3;
  __extension__ union {
    int64_t llVal;
    int32_t lVal;
    int32_t intVal;
    uint8_t bVal;
    int16_t iVal;
    float fltVal;
    double dblVal;
    double date;
    VARIANT_BOOL boolVal;
    HRESULT scode;
    BSTR bstrVal;
    struct IUnknown *punkVal;
    struct IDispatch *pdispVal;
    void *byref;
    struct {
      void *pvRecord;
      void *pRecInfo;
    } record;
  };
} VARIANT;

#define STDMETHODCALLTYPE
#define STDAPICALLTYPE
#define BEGIN_INTERFACE
#define END_INTERFACE
#if defined(__cplusplus)
#define STDMETHOD(method) virtual HRESULT STDMETHODCALLTYPE method
#define STDMETHOD_(type, method) virtual type STDMETHODCALLTYPE method
#define PURE = 0
#define THIS_
#define THIS void
#define DECLARE_INTERFACE_(name, base) struct name : public base
#else
#define STDMETHOD(method) HRESULT(STDMETHODCALLTYPE *method)
#define STDMETHOD_(type, method) type(STDMETHODCALLTYPE *method)
#define PURE
#define THIS_ INTERFACE *This,
#define THIS INTERFACE *This
#define DECLARE_INTERFACE_(name, base)  \
  typedef struct name {                 \
    const struct name##Vtbl *lpVtbl;    \
  } name;                               \
  typedef struct name##Vtbl name##Vtbl; \
  struct name##Vtbl
#endif

#if defined(__cplusplus)
struct IUnknown {
  STDMETHOD(QueryInterface)(REFIID identity, void **object) PURE;
  STDMETHOD_(ULONG, AddRef)() PURE;
  STDMETHOD_(ULONG, Release)() PURE;
};
struct IDispatch : public IUnknown {
  STDMETHOD(GetTypeInfoCount)(UINT *count) PURE;
  STDMETHOD(GetTypeInfo)(UINT index, LCID locale, struct ITypeInfo **info) PURE;
  STDMETHOD(GetIDsOfNames)
  (REFIID reserved, OLECHAR **names, UINT count, LCID locale, DISPID *ids) PURE;
  STDMETHOD(Invoke)
  (DISPID id, REFIID reserved, LCID locale, WORD flags, struct tagDISPPARAMS *arguments,
   VARIANT *result, struct tagEXCEPINFO *exception, UINT *argument) PURE;
};
struct IClassFactory : public IUnknown {
  STDMETHOD(CreateInstance)(IUnknown *outer, REFIID identity, void **object) PURE;
  STDMETHOD(LockServer)(BOOL lock) PURE;
};
#else
typedef struct IUnknown {
  const struct IUnknownVtbl *lpVtbl;
} IUnknown;
struct IUnknownVtbl {
  HRESULT (*QueryInterface)(IUnknown *This, REFIID identity, void **object);
  ULONG (*AddRef)(IUnknown *This);
  ULONG (*Release)(IUnknown *This);
};
typedef struct IDispatch IDispatch;
typedef struct IClassFactory {
  const struct IClassFactoryVtbl *lpVtbl;
} IClassFactory;
struct IClassFactoryVtbl {
  HRESULT (*QueryInterface)(IClassFactory *This, REFIID identity, void **object);
  ULONG (*AddRef)(IClassFactory *This);
  ULONG (*Release)(IClassFactory *This);
  HRESULT (*CreateInstance)(IClassFactory *This, IUnknown *outer, REFIID identity, void **object);
  HRESULT (*LockServer)(IClassFactory *This, BOOL lock);
};
#endif

/* Identities of the system's own interfaces. */
static const GUID IID_IUnknown = {0, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
static const GUID IID_IClassFactory = {1, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
static const GUID IID_IDispatch = {0x20400, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

/* Texts. SysAllocStringLen copies `length` units (zeros when `text` is null); null when memory is
 * refused. SysAllocString takes a zero-terminated text, null gives null. Lengths are in units. */
static inline BSTR SysAllocStringLen(const OLECHAR *text, UINT length) {
  unsigned char *block;
  uint32_t bytes;
  if (length > 0x3FFFFFFF) return NULL;
  bytes = length * (uint32_t)sizeof(OLECHAR);
  /* The length stands in the last four of eight bytes, so that the text is aligned for anything. */
  block = (unsigned char *)calloc(1, 8 + (size_t)bytes + sizeof(OLECHAR));
  if (block == NULL) return NULL;
  memcpy(block + 4, &bytes, sizeof bytes);
  if (text != NULL) memcpy(block + 8, text, bytes);
  return (BSTR)(void *)(block + 8);
}
static inline BSTR SysAllocString(const OLECHAR *text) {
  size_t length = 0;
  if (text == NULL) return NULL;
  while (text[length] != 0) ++length;
  return length > 0x3FFFFFFF ? NULL : SysAllocStringLen(text, (UINT)length);
}
static inline UINT SysStringLen(BSTR text) {
  uint32_t bytes = 0;
  if (text != NULL) memcpy(&bytes, (unsigned char *)(void *)text - 4, sizeof bytes);
  return bytes / (UINT)sizeof(OLECHAR);
}
static inline void SysFreeString(BSTR text) {
  if (text != NULL) free((unsigned char *)(void *)text - 8);
}

static inline void VariantInit(VARIANT *value) { memset(value, 0, sizeof *value); }
/* Releases what a text or an object holds; everything else is plain data. */
static inline HRESULT VariantClear(VARIANT *value) {
  if (value->vt == VT_BSTR) {
    SysFreeString(value->bstrVal);
  } else if ((value->vt == VT_UNKNOWN || value->vt == VT_DISPATCH) && value->punkVal != NULL) {
#if defined(__cplusplus)
    value->punkVal->Release();
#else
    value->punkVal->lpVtbl->Release(value->punkVal);
#endif
  }
  memset(value, 0, sizeof *value);
  return S_OK;
}

#endif

#endif
