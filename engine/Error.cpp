#include "engine/Error.h"

namespace zk::engine {
namespace {

struct ErrorText {
  int code;
  const char *text;
};

constexpr ErrorText kErrorTexts[] = {
    {-10, "Closing File"},
    {-20, "Creating File"},
    {-30, "Determining File Length"},
    {-40, "Setting File Length"},
    {-50, "Locking File"},
    {-60, "Opening File"},
    {-70, "Reading File"},
    {-80, "Removing File"},
    {-90, "Renaming File"},
    {-100, "Seeking to File Position"},
    {-110, "Unlocking File"},
    {-120, "Writing to File"},
    {-200, "File is not a Data File"},
    {-210, "Unrecognized Field Name"},
    {-220, "Unrecognized Field Type"},
    {-230, "Record Length is too Large"},
    {-300, "Tag Entry Missing"},
    {-310, "Not a Correct Index File"},
    {-330, "Tag Name not Found"},
    {-340, "Unique Key Error"},
    {-400, "Comma or Bracket Expected"},
    {-410, "Expression not Complete"},
    {-420, "Data File Name not Located"},
    {-422, "IIF() Needs Parameters of Same Length"},
    {-425, "SUBSTR() and STR() need Constant Parameters"},
    {-430, "Number of Parameters is Wrong"},
    {-440, "Overflow while Evaluating Expression"},
    {-450, "Right Bracket Missing"},
    {-460, "Sub-expression Type is Wrong"},
    {-470, "Unrecognized Function"},
    {-480, "Unrecognized Operator"},
    {-490, "Unrecognized Value"},
    {-500, "Unterminated String"},
    {-610, "Optimization Error"},
    {-620, "Optimization Removal Failure"},
    {-630, "Optimization File Flushing Failure"},
    {-710, "Matching Slave Record Not Located"},
    {-720, "Relation Error"},
    {-810, "Report Error"},
    {-811, "Error Creating Style"},
    {-812, "Error Selecting Style"},
    {-813, "Error Finding Style"},
    {-814, "Error Creating Area"},
    {-815, "Error Creating Group"},
    {-816, "Error Setting Group Reset-Expression"},
    {-817, "Error Creating Total"},
    {-818, "Error Creating Object"},
    {-819, "Error In Windows Output"},
    {-820, "Error In Report Output"},
    {-821, "Error Saving Report"},
    {-822, "Error Retrieving Report"},
    {-823, "Error In Sending Report to Data File"},
    {-910, "Unexpected Information"},
    {-920, "Out of Memory"},
    {-930, "Unexpected Parameter"},
    {-950, "Unexpected Result"},
    {-1010, "Function unsupported: library compiled with S4OFF_INDEX"},
    {-1020, "Function unsupported: library compiled with S4OFF_MEMO"},
    {-1030, "Function unsupported: library compiled with S4NO_RENAME"},
    {-1040, "Function unsupported: library compiled with S4OFF_WRITE"},
    {-1050, "Function unsupported: library not compiled with S4CLIPPER"},
    {-1060, "Function unsupported: library not compiled with S4LOCK_HOOK"},
    {-1070, "Function unsupported: library not compiled with S4ERROR_HOOK"},
};

}  // namespace

const char *errorText(int code) noexcept {
  for (const ErrorText &entry : kErrorTexts) {
    if (entry.code == code) return entry.text;
  }
  return "";
}

}  // namespace zk::engine
