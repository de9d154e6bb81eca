#include "SRC/Com.h"

namespace zk {
namespace {

ZkComErrorFn errorHandler = nullptr;
void *errorHandlerUser = nullptr;

}  // namespace

HRESULT reportComError(HRESULT result) noexcept {
  if (FAILED(result) && errorHandler != nullptr) errorHandler(result, errorHandlerUser);
  return result;
}

}  // namespace zk

extern "C" {

HRESULT ZK_CALL zk_Com_registerClass(const GUID *classId, IUnknown *factory, uint32_t *cookie) {
  if (classId == nullptr || factory == nullptr || cookie == nullptr) return E_POINTER;
  return zk::platform::registerClass(*classId, factory, *cookie);
}

HRESULT ZK_CALL zk_Com_revokeClass(uint32_t cookie) { return zk::platform::revokeClass(cookie); }

void ZK_CALL zk_Com_setErrorHandler(ZkComErrorFn handler, void *user) {
  zk::errorHandler = handler;
  zk::errorHandlerUser = user;
}

}  // extern "C"
