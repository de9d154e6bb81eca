#include "zk/sys.h"

#include "SRC/AppComponent.h"
#include "SRC/Fname.h"
#include "SRC/Str.h"
#include "base/Guard.h"
#include "platform/Process.h"
#include "platform/Version.h"

namespace zk {
namespace {

using platform::VersionText;

struct Drawing {
  char name[kPathLength + 1];
  int saveIgnored;
};
Drawing drawing;

const char *versionText(const char *module, VersionText which, char (&result)[kPathLength + 1]) {
  if (module == nullptr || *module == '\0') return nullptr;
  return base::guarded<const char *>(nullptr, [&]() -> const char * {
    base::String text;
    if (!platform::moduleVersionText(module, which, text)) return nullptr;
    copyBounded(result, text, kPathLength);
    return result;
  });
}

}  // namespace
}  // namespace zk

using namespace zk;

const char *zk_Global_getModuleFileVersion(const char *module) {
  static char result[kPathLength + 1];
  return versionText(module, VersionText::kFileVersion, result);
}

const char *zk_Global_getModuleProductVersion(const char *module) {
  static char result[kPathLength + 1];
  return versionText(module, VersionText::kProductVersion, result);
}

int zk_Global_openFileinNotepad(const char *path) {
  if (path == nullptr || *path == '\0') return 0;
  return base::guarded(0, [path] { return platform::openInEditor(path) ? 1 : 0; });
}

int zk_Global_destroyData(void) {
  releaseComponent();
  return 1;
}

int zk_Drawing_IgnoreSaveEvents(const char *drawingName, int flag) {
  if (drawingName == nullptr) return 0;
  copyBounded(drawing.name, drawingName, kPathLength);
  drawing.saveIgnored = flag;
  return 1;
}

int zk_Drawing_IsSaveIgnored(const char *drawingName) {
  if (drawingName == nullptr) return 0;
  const std::string_view name = std::string_view(drawingName).substr(0, kPathLength);
  return compareIgnoringCase(name, drawing.name) == 0 ? drawing.saveIgnored : 0;
}

const char *zk_Merovin_getBaseSectionName(void) { return "GENERAL"; }
