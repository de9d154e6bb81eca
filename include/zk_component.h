/* The component boundary: what the library asks of components outside it. A host may bring its own
 * component; the stock one, JNApplication2 (.dll, .so), implements everything here.
 *
 * All interfaces are dual: the seven methods of IUnknown and IDispatch come first, those declared
 * here follow in the order that they stand in, and the order never changes. A "slot" below counts
 * from QueryInterface, which is slot 1, so the first method of an interface declared here is
 * slot 8. The library calls by slot, never by Invoke: a component may answer E_NOTIMPL to the four
 * methods of IDispatch.
 *
 * Texts are BSTRs; a null BSTR is the empty text. Parameters called `result` or named in the
 * comment as out are written by the component; texts and objects among them belong to the caller
 * (SysFreeString, Release). A failing HRESULT leaves out parameters null. Indexes are 1-based.
 *
 * One thread at a time calls, the one that uses the library.
 */
#ifndef ZK_COMPONENT_H
#define ZK_COMPONENT_H

#include "zk/com.h"

ZK_EXTERN_C_BEGIN

/* The inherited methods, needed in the C tables only: slots 1 to 7. */
#if defined(__cplusplus)
#define ZK_DISPATCH_METHODS
#else
#define ZK_DISPATCH_METHODS                                                                     \
  STDMETHOD(QueryInterface)(THIS_ REFIID identity, void **object) PURE;                         \
  STDMETHOD_(ULONG, AddRef)(THIS) PURE;                                                         \
  STDMETHOD_(ULONG, Release)(THIS) PURE;                                                        \
  STDMETHOD(GetTypeInfoCount)(THIS_ UINT * count) PURE;                                         \
  STDMETHOD(GetTypeInfo)(THIS_ UINT index, LCID locale, struct ITypeInfo * *info) PURE;         \
  STDMETHOD(GetIDsOfNames)                                                                      \
  (THIS_ REFIID reserved, OLECHAR * *names, UINT count, LCID locale, DISPID * ids) PURE;        \
  STDMETHOD(Invoke)                                                                             \
  (THIS_ DISPID id, REFIID reserved, LCID locale, WORD flags, struct tagDISPPARAMS * arguments, \
   VARIANT * result, struct tagEXCEPINFO * exception, UINT * argument) PURE;
#endif

/* ---- The application component ----------------------------------------------------------------
 *
 * One object of class ZK_CLSID_APPLICATION serves the process. It answers the four interfaces that
 * follow; one that it does not answer counts as absent, each by itself. The library creates it on
 * first use (in-process, handler, local or remote server), and where the class is not registered
 * from the file "JNApplication2" (.dll, .so) beside the library, by its DllGetClassObject. A failed
 * creation is remembered until zk_Global_destroyData. */

/* {90F5B5E6-3175-42F5-AA4B-EB51D0B9ABCA} */
static const GUID ZK_CLSID_APPLICATION = {
    0x90F5B5E6, 0x3175, 0x42F5, {0xAA, 0x4B, 0xEB, 0x51, 0xD0, 0xB9, 0xAB, 0xCA}};

/* {9552B592-F6F1-EDF4-5AEA-11A74BE99317} Files as the application sees them. */
static const GUID ZK_IID_APPLICATION = {
    0x9552B592, 0xF6F1, 0xEDF4, {0x5A, 0xEA, 0x11, 0xA7, 0x4B, 0xE9, 0x93, 0x17}};
#undef INTERFACE
#define INTERFACE IZkApplication
DECLARE_INTERFACE_(IZkApplication, IDispatch) {
  ZK_DISPATCH_METHODS
  /* Slots 8 and 9: whether there is a file, a directory. The library hands in eight zeroed bytes
   * and takes any of them that is not zero for yes. */
  STDMETHOD(FileExists)(THIS_ BSTR path, VARIANT_BOOL * result) PURE;
  STDMETHOD(DirectoryExists)(THIS_ BSTR path, VARIANT_BOOL * result) PURE;
  /* Slot 10: the file or directory may have changed; whatever is remembered of it is dropped. */
  STDMETHOD(Revalidate)(THIS_ BSTR path) PURE;
};

/* {5CF0A730-3FB7-BF07-D80F-A3E86177828B} The message translator. */
static const GUID ZK_IID_TRANSLATOR = {
    0x5CF0A730, 0x3FB7, 0xBF07, {0xD8, 0x0F, 0xA3, 0xE8, 0x61, 0x77, 0x82, 0x8B}};
#undef INTERFACE
#define INTERFACE IZkTranslator
DECLARE_INTERFACE_(IZkTranslator, IDispatch) {
  ZK_DISPATCH_METHODS
  /* Slot 8: out: the language that texts are translated to ("GERMAN"), empty for none. */
  STDMETHOD(GetLanguage)(THIS_ BSTR * result) PURE;
  /* Slot 9: out: the translation of `text`, laid out by the public layout number (0 none, 1 to 7 as
   * zk_Msg_setFormat lists them); null or empty where there is none. The message id ("TOOL_216",
   * "DBCols", "SEP") says which message it is. */
  STDMETHOD(Translate)(THIS_ BSTR text, BSTR messageId, LONG layout, BSTR * result) PURE;
};

/* {3B0E2C51-7D94-4A86-9F21-5C8E6A14D7B3} Where the configuration lies. */
static const GUID ZK_IID_CONFIGURATION_DIRECTORY = {
    0x3B0E2C51, 0x7D94, 0x4A86, {0x9F, 0x21, 0x5C, 0x8E, 0x6A, 0x14, 0xD7, 0xB3}};
#undef INTERFACE
#define INTERFACE IZkConfigurationDirectory
DECLARE_INTERFACE_(IZkConfigurationDirectory, IDispatch) {
  ZK_DISPATCH_METHODS
  /* Slot 8: out: the configuration directory, with or without a separator at its end. */
  STDMETHOD(GetDirectory)(THIS_ BSTR * result) PURE;
};

/* ---- Variables lists --------------------------------------------------------------------------
 */

/* One variable: a key that is unique in its list, a name, a value. The identity is this library's:
 * {A9C1F0E4-52B7-4D3A-8E65-0B7F93D2C618}; items are used as the list hands them out. */
static const GUID ZK_IID_VARIABLES_ITEM = {
    0xA9C1F0E4, 0x52B7, 0x4D3A, {0x8E, 0x65, 0x0B, 0x7F, 0x93, 0xD2, 0xC6, 0x18}};
#undef INTERFACE
#define INTERFACE IZkVariablesItem
DECLARE_INTERFACE_(IZkVariablesItem, IDispatch) {
  ZK_DISPATCH_METHODS
  STDMETHOD(GetKey)(THIS_ BSTR * result) PURE;      /* slot 8 */
  STDMETHOD(PutValue)(THIS_ VARIANT value) PURE;    /* slot 9: copies */
  STDMETHOD(GetValue)(THIS_ VARIANT * result) PURE; /* slot 10: VariantClear releases it */
  STDMETHOD(PutName)(THIS_ BSTR name) PURE;         /* slot 11: copies */
  STDMETHOD(GetName)(THIS_ BSTR * result) PURE;     /* slot 12 */
};

/* {5F258EBA-DFD6-403F-E37C-7468E43EB907} An ordered collection of variables. */
static const GUID ZK_IID_VARIABLES_LIST = {
    0x5F258EBA, 0xDFD6, 0x403F, {0xE3, 0x7C, 0x74, 0x68, 0xE4, 0x3E, 0xB9, 0x07}};
#undef INTERFACE
#define INTERFACE IZkVariablesList
DECLARE_INTERFACE_(IZkVariablesList, IDispatch) {
  ZK_DISPATCH_METHODS
  /* Slot 8: appends a variable; out: the new item. E_INVALIDARG: the key is there already. */
  STDMETHOD(Add)(THIS_ BSTR key, BSTR name, VARIANT value, IZkVariablesItem * *result) PURE;
  /* Slot 9: out: the item at a 1-based position (VT_I4) or with a key (VT_BSTR). DISP_E_BADINDEX:
   * there is none. */
  STDMETHOD(Item)(THIS_ VARIANT index, IZkVariablesItem * *result) PURE;
  /* Slot 10. */
  STDMETHOD(Count)(THIS_ LONG * result) PURE;
  /* Slot 11: removes the variable with that key. DISP_E_BADINDEX: there is none. */
  STDMETHOD(Remove)(THIS_ BSTR key) PURE;
};

/* Class of an empty list, in the stock component: {D40B6E27-8C13-4F59-A7D2-61E0C5938BAF}. */
static const GUID ZK_CLSID_VARIABLES_LIST = {
    0xD40B6E27, 0x8C13, 0x4F59, {0xA7, 0xD2, 0x61, 0xE0, 0xC5, 0x93, 0x8B, 0xAF}};

/* ---- The configuration cache ------------------------------------------------------------------
 *
 * INI files, parsed and kept in memory. Files are named by path; groups and variables are compared
 * without regard to case. What a call changes is on disk when it returns. */

/* {71D8A3F6-0E4B-4C97-B5A8-92F36D1C07E5} */
static const GUID ZK_IID_CONFIGURATION_CACHE = {
    0x71D8A3F6, 0x0E4B, 0x4C97, {0xB5, 0xA8, 0x92, 0xF3, 0x6D, 0x1C, 0x07, 0xE5}};
#undef INTERFACE
#define INTERFACE IZkConfigurationCache
DECLARE_INTERFACE_(IZkConfigurationCache, IDispatch) {
  ZK_DISPATCH_METHODS
  /* Slot 8: out: the variable's value, null when file, group or variable is missing. `expand` is
   * the caller's wish that references in it be expanded; the library expands them itself and passes
   * VARIANT_FALSE. */
  STDMETHOD(GetValue)
  (THIS_ BSTR file, BSTR group, BSTR name, VARIANT_BOOL expand, BSTR * result) PURE;
  /* Slot 9: sets a variable, adding file, group and variable where they are missing; out: not 0
   * when the value was stored. */
  STDMETHOD(SetValue)(THIS_ BSTR file, BSTR group, BSTR name, BSTR value, int16_t * result) PURE;
  /* Slot 10: out: the group's variables in the file's order (values VT_BSTR, keys "1", "2", ...);
   * null when there is no such group. */
  STDMETHOD(GetGroup)(THIS_ BSTR file, BSTR group, IZkVariablesList * *result) PURE;
  /* Slot 11: adds the group at the end of the file unless it is there. */
  STDMETHOD(AddGroup)(THIS_ BSTR file, BSTR group) PURE;
  /* Slot 12: removes the group with its lines. S_FALSE: there was none. */
  STDMETHOD(RemoveGroup)(THIS_ BSTR file, BSTR group) PURE;
  /* Slot 13: out: the names of all groups in the file's order, as variables without values; null
   * when there is no such file. */
  STDMETHOD(ListGroups)(THIS_ BSTR file, IZkVariablesList * *result) PURE;
  /* Slot 14: reads the file again; out: not 0 when it could be read. */
  STDMETHOD(Reload)(THIS_ BSTR file, int16_t * result) PURE;
  /* Slot 15: drops every cached file. */
  STDMETHOD(Reset)(THIS) PURE;
  /* Slot 16: shows what is cached, in the component's own way. */
  STDMETHOD(View)(THIS) PURE;
};

/* ---- Field lists as objects -------------------------------------------------------------------
 *
 * What zk_ConvertDBFldListToJNFldList makes of a record and zk_ConvertJNFldListToDBFldList reads.
 */

/* {8CC4BBF6-A347-ED4D-3929-3EFFB76B0503} class of the list,
 * {E2EA2975-2CB1-275B-176A-1464EE369633} class of a field. */
static const GUID ZK_CLSID_FIELD_LIST = {
    0x8CC4BBF6, 0xA347, 0xED4D, {0x39, 0x29, 0x3E, 0xFF, 0xB7, 0x6B, 0x05, 0x03}};
static const GUID ZK_CLSID_FIELD = {
    0xE2EA2975, 0x2CB1, 0x275B, {0x17, 0x6A, 0x14, 0x64, 0xEE, 0x36, 0x96, 0x33}};

/* {2631D3EE-B373-398B-0084-9944A45AB3EB} A field of a record. Put copies. */
static const GUID ZK_IID_FIELD = {
    0x2631D3EE, 0xB373, 0x398B, {0x00, 0x84, 0x99, 0x44, 0xA4, 0x5A, 0xB3, 0xEB}};
#undef INTERFACE
#define INTERFACE IZkField
DECLARE_INTERFACE_(IZkField, IDispatch) {
  ZK_DISPATCH_METHODS
  STDMETHOD(PutName)(THIS_ BSTR name) PURE;              /* slot 8 */
  STDMETHOD(GetName)(THIS_ BSTR * result) PURE;          /* slot 9 */
  STDMETHOD(PutType)(THIS_ BSTR type) PURE;              /* slot 10: the type letter */
  STDMETHOD(GetType)(THIS_ BSTR * result) PURE;          /* slot 11 */
  STDMETHOD(PutWidth)(THIS_ LONG width) PURE;            /* slot 12: characters */
  STDMETHOD(GetWidth)(THIS_ LONG * result) PURE;         /* slot 13 */
  STDMETHOD(PutPrecision)(THIS_ LONG decimals) PURE;     /* slot 14 */
  STDMETHOD(GetPrecision)(THIS_ LONG * result) PURE;     /* slot 15 */
  STDMETHOD(PutValue)(THIS_ BSTR value) PURE;            /* slot 16 */
  STDMETHOD(GetValue)(THIS_ BSTR * result) PURE;         /* slot 17: null when empty */
  STDMETHOD(PutEmpty)(THIS_ VARIANT_BOOL empty) PURE;    /* slot 18 */
  STDMETHOD(GetEmpty)(THIS_ VARIANT_BOOL * result) PURE; /* slot 19 */
};

/* {DE1B5BB4-4B1F-8214-2F17-5D53D495E309} A list of fields. */
static const GUID ZK_IID_FIELD_LIST = {
    0xDE1B5BB4, 0x4B1F, 0x8214, {0x2F, 0x17, 0x5D, 0x53, 0xD4, 0x95, 0xE3, 0x09}};
#undef INTERFACE
#define INTERFACE IZkFieldList
DECLARE_INTERFACE_(IZkFieldList, IDispatch) {
  ZK_DISPATCH_METHODS
  STDMETHOD(Add)(THIS_ IUnknown * field) PURE;                   /* slot 8: keeps a reference */
  STDMETHOD(Item)(THIS_ VARIANT index, IUnknown * *result) PURE; /* slot 9: 1-based, VT_INT */
  STDMETHOD(Count)(THIS_ LONG * result) PURE;                    /* slot 10 */
};
#undef INTERFACE

/* ---- Bringing a component along ---------------------------------------------------------------
 */

/* Makes a class available in this process through its factory, which is kept (a reference) until
 * revoked: objects of the class are then made by it. On Windows the system's own table of class
 * objects, on Linux the library's. `cookie` receives what zk_Com_revokeClass takes. S_OK, or the
 * HRESULT of the failure (E_POINTER: a null argument; E_OUTOFMEMORY). Register before the library
 * first needs the class, or call zk_Global_destroyData afterwards. */
ZK_API HRESULT ZK_CALL zk_Com_registerClass(const GUID *classId, IUnknown *factory,
                                            uint32_t *cookie);
/* S_OK; E_INVALIDARG for a cookie that is not in use. */
ZK_API HRESULT ZK_CALL zk_Com_revokeClass(uint32_t cookie);

/* Called with every COM error that the library met and answered by the documented failure result
 * instead (a null interface: E_POINTER). Null (the default): nobody is told. */
typedef void(ZK_CALL *ZkComErrorFn)(HRESULT error, void *user);
ZK_API void ZK_CALL zk_Com_setErrorHandler(ZkComErrorFn handler, void *user);

/* Exported by a component's file, as COM in-process servers do; what the library calls in a file
 * that lies beside it. */
typedef HRESULT(STDAPICALLTYPE *ZkGetClassObjectFn)(REFCLSID classId, REFIID identity,
                                                    void **factory);

#undef ZK_DISPATCH_METHODS

ZK_EXTERN_C_END
#endif
