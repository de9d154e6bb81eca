// What Windows does in its own way.
#include <windows.h>

#include <ctime>
#include <functional>
#include <string>
#include <vector>

#include "tests/file_calls.h"
#include "tests/processes.h"
#include "tests/support.h"

namespace {

using processes::Arguments;
using processes::Process;
using support::createTable;
using support::openTable;
namespace fs = support::fs;

constexpr int kLocked = 50;
constexpr int kOpening = -60;
constexpr std::uint64_t kAppendByte = 0x7FFFFFFE;

// Holds a byte of a file until it is told to end.
int byteHolder(const Arguments &arguments) {
  const processes::ByteLock lock(arguments[0], std::stoull(arguments[1]), 1);
  processes::say(lock.held() ? "held" : "refused");
  processes::hear();
  return 0;
}
const processes::Role byteHolderRole("byte holder", byteHolder);

int append(int32_t table) {
  const int status = zk_Db_appendStart(table);
  return status == 0 ? zk_Db_append(table) : status;
}

class Windows : public support::TableTest {
 protected:
  ~Windows() override {
    zk_Db_setLockAttempts(-1);
    zk_Host_setMessagePresenter(nullptr, nullptr);
  }

  std::string table() const { return path("T.DBF"); }

  int32_t openNew(const char *fields = "A C 5") {
    EXPECT_EQ(zk_Db_closeDb(createTable(table(), fields)), 0);
    return openTable(table());
  }
};

// ---- Waiting for a lock

// A window that is told of something while the library waits.
class Listener {
 public:
  explicit Listener(std::function<void()> act) : act_(std::move(act)) {
    WNDCLASSA kind = {};
    kind.lpfnWndProc = receive;
    kind.hInstance = GetModuleHandleA(nullptr);
    kind.lpszClassName = "zk listener";
    RegisterClassA(&kind);
    window_ = CreateWindowA(kind.lpszClassName, "", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr,
                            kind.hInstance, nullptr);
    SetWindowLongA(window_, GWL_USERDATA, reinterpret_cast<LONG>(this));
    SetTimer(window_, 1, 200, nullptr);
  }
  ~Listener() { DestroyWindow(window_); }
  Listener(const Listener &) = delete;
  Listener &operator=(const Listener &) = delete;
  bool valid() const { return window_ != nullptr; }

 private:
  static LRESULT CALLBACK receive(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message != WM_TIMER) return DefWindowProcA(window, message, wParam, lParam);
    KillTimer(window, 1);
    reinterpret_cast<Listener *>(GetWindowLongA(window, GWL_USERDATA))->act_();
    return 0;
  }

  std::function<void()> act_;
  HWND window_;
};

TEST_F(Windows, MessagesAreDispatchedWhileALockIsWaitedFor) {
  const int32_t first = openNew();
  const int32_t second = createTable(path("U.DBF"), "B C 5");
  ASSERT_GE(second, 0);
  Process other("byte holder", {table(), std::to_string(kAppendByte)});
  ASSERT_EQ(other.line().value_or("(none)"), "held");

  std::vector<int> meanwhile;
  const Listener listener([&] {
    meanwhile = {append(first),       zk_Db_topRec(first, -1), zk_Db_closeDb(first),
                 zk_Db_packDb(first), append(second),          zk_Db_topRec(second, -1)};
    EXPECT_EQ(zk_Db_closeAll(), kLocked);
    other.tell("enough");
  });
  if (!listener.valid()) GTEST_SKIP() << "no windows here: " << GetLastError();
  EXPECT_EQ(append(first), 0);
  EXPECT_EQ(meanwhile, (std::vector<int>{kLocked, kLocked, kLocked, kLocked, 0, 0}))
      << "what is let in meanwhile finds the table in use, not others";
  EXPECT_EQ(zk_Db_getRecordCount(first), 1);
  EXPECT_EQ(zk_Db_closeAll(), 0);
}

TEST_F(Windows, AnApplicationThatIsToEndDoesNotWait) {
  const int32_t first = openNew();
  Process other("byte holder", {table(), std::to_string(kAppendByte)});
  ASSERT_EQ(other.line().value_or("(none)"), "held");
  PostQuitMessage(7);
  for (int i = 0; i < 2; ++i) EXPECT_EQ(append(first), kLocked) << "the message is left there";
  MSG message = {};
  ASSERT_TRUE(PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE));
  EXPECT_EQ(message.message, static_cast<UINT>(WM_QUIT));
  EXPECT_EQ(message.wParam, 7u);
}

// There other programs' locks refuse reads and writes as well.
TEST_F(Windows, AReadOrWriteThatALockRefusesIsTriedAgain) {
  const int32_t first = openNew();
  EXPECT_EQ(append(first), 0);
  file_calls::refuse(ERROR_LOCK_VIOLATION, 3);
  EXPECT_EQ(zk_Db_topRec(first, -1), 0) << "in the end the lock is gone";
  support::assign(first, {{"A", "x"}});
  EXPECT_EQ(file_calls::refusalsLeft(), 0);
  file_calls::refuse(ERROR_LOCK_VIOLATION, 3);
  EXPECT_EQ(zk_Db_flush(first), 0);
  EXPECT_EQ(file_calls::refusalsLeft(), 0);

  zk_Db_setLockAttempts(1);
  file_calls::refuse(ERROR_LOCK_VIOLATION, 1000);
  EXPECT_EQ(zk_Db_goRec(first, 1), kLocked);
  file_calls::refuse(ERROR_LOCK_VIOLATION, 0);
  EXPECT_EQ(zk_Db_goRec(first, 1), 0);
  EXPECT_EQ(support::trimmed(first, "A"), "x");
}

// ---- Packing

// Between two names there is a moment without a table.
TEST_F(Windows, APackThatDiedWithTheTableAsideIsTakenBack) {
  const int32_t first = openNew();
  EXPECT_EQ(append(first), 0);
  EXPECT_EQ(zk_Db_closeDb(first), 0);
  fs::rename(table(), table() + ".zkold");
  support::writeFile(table() + ".zknew", "nobody knows whether this is whole");
  const int32_t again = openTable(table());
  EXPECT_EQ(zk_Db_getRecordCount(again), 1);
  EXPECT_EQ(zk_Db_packDb(again), 0);
  EXPECT_EQ(zk_Db_closeDb(again), 0);
  EXPECT_EQ(files(), (std::vector<std::string>{"T.DBF"}));

  support::writeFile(table() + ".zkold", "somebody's");
  EXPECT_EQ(zk_Db_getRecordCount(openTable(table())), 1) << "the table in place counts";
}

// ---- Names

TEST_F(Windows, OneTableByAnyOfItsNames) {
  EXPECT_EQ(zk_Db_closeDb(createTable(table(), "A C 5")), 0);
  const fs::path before = fs::current_path();
  fs::current_path(folder_);
  const std::string full = fs::absolute("T.DBF").string();  // "C:\..."
  std::string slashes = full;
  for (char &c : slashes) c = c == '\\' ? '/' : c;
  std::string lower = full;
  CharLowerA(lower.data());
  const std::vector<std::string> names = {
      full, slashes, lower, full.substr(0, 2) + "T.DBF", full.substr(2), "t.dbf", "t", ".\\T"};
  const int32_t only = openTable(full, 2);
  ASSERT_GE(only, 0);
  for (const std::string &name : names) {
    EXPECT_EQ(openTable(name), -1) << name;
    EXPECT_EQ(zk_DbError_code(), kOpening) << name;
  }
  EXPECT_EQ(zk_Db_closeDb(only), 0);
  for (const std::string &name : names) {
    const int32_t opened = openTable(name);
    EXPECT_GE(opened, 0) << name;
    EXPECT_EQ(zk_Db_closeDb(opened), 0);
    EXPECT_EQ(zk_File_hasAccess(
                  (name + (name.back() == 'F' || name.back() == 'f' ? "" : ".dbf")).c_str(), 6),
              1)
        << name;
  }
  char native[512];
  EXPECT_EQ(zk_Host_nativePath("C:/a\\B", native, 511), 1);
  EXPECT_STREQ(native, "C:/a\\B");
  EXPECT_EQ(zk_Host_setDriveDirectory('C', "C:\\"), 0) << "drives are the system's";
  fs::current_path(before);
}

TEST_F(Windows, NamesAreInTheCurrentCodePage) {
  if (GetACP() != 1252) GTEST_SKIP() << "the code page is " << GetACP();
  const std::string folder = folder_.string() + "\\";
  const int32_t opened = createTable(folder + "F\xE4hre.dbf", "A C 5");
  ASSERT_GE(opened, 0);
  EXPECT_EQ(append(opened), 0);
  EXPECT_EQ(zk_Db_closeDb(opened), 0);
  EXPECT_TRUE(fs::exists(folder_ / L"F\u00E4hre.dbf"));
  EXPECT_GE(openTable(folder + "f\xC4hRE"), 0) << "case is ignored past ASCII, too";
  char name[512];
  EXPECT_EQ(zk_File_findFirst((folder + "F*.dbf").c_str(), name), 0);
  EXPECT_NE(std::string(name).find("F\xE4hre"), std::string::npos) << name;
}

// ---- Attributes and times

TEST_F(Windows, ReadOnlyIsAnAttribute) {
  EXPECT_EQ(zk_Db_closeDb(createTable(table(), "A C 5")), 0);
  ASSERT_TRUE(SetFileAttributesA(table().c_str(), FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_ARCHIVE));
  EXPECT_EQ(zk_File_setReadOnlyAccess(table().c_str()), 1);
  const DWORD attributes = GetFileAttributesA(table().c_str());
  EXPECT_NE(attributes & FILE_ATTRIBUTE_READONLY, 0u);
  const int32_t opened = openTable(table());
  ZkDbInfo info = {};
  EXPECT_EQ(zk_Db_getInfo(opened, &info), 1);
  EXPECT_EQ(info.readOnly, 1);
  EXPECT_EQ(zk_Db_closeDb(opened), 0);
  EXPECT_EQ(zk_File_setReadWriteAccess(table().c_str()), 1);
  EXPECT_EQ(GetFileAttributesA(table().c_str()) ^ attributes,
            static_cast<DWORD>(FILE_ATTRIBUTE_READONLY))
      << "the others stay";
}

TEST_F(Windows, TimesAreSecondsSince1970InUtc) {
  support::writeFile(path("a"), "text");
  for (const time_t time : {time_t{0}, time_t{315532800}, time_t{1700000001}}) {
    EXPECT_EQ(zk_File_setTime(path("a").c_str(), time), 1);
    time_t back = -1;
    EXPECT_EQ(zk_File_getTime(path("a").c_str(), &back), 0);
    EXPECT_EQ(back, time);
    WIN32_FILE_ATTRIBUTE_DATA data = {};
    ASSERT_TRUE(GetFileAttributesExA(path("a").c_str(), GetFileExInfoStandard, &data));
    SYSTEMTIME utc = {};
    FileTimeToSystemTime(&data.ftLastWriteTime, &utc);
    EXPECT_EQ(utc.wSecond, time % 60);
    EXPECT_EQ(utc.wHour, time / 3600 % 24);
  }
  // The 22nd century does not fit.
  const HANDLE file =
      CreateFileA(path("a").c_str(), FILE_WRITE_ATTRIBUTES, 0, nullptr, OPEN_EXISTING, 0, nullptr);
  const SYSTEMTIME late = {2100, 1, 0, 1, 0, 0, 0, 0};
  FILETIME fileTime = {};
  SystemTimeToFileTime(&late, &fileTime);
  SetFileTime(file, nullptr, nullptr, &fileTime);
  CloseHandle(file);
  time_t back = 5;
  EXPECT_EQ(zk_File_getTime(path("a").c_str(), &back), -1);
  EXPECT_EQ(back, 5);
}

// ---- Messages

TEST_F(Windows, ErrorsGoThroughThePresenter) {
  static std::vector<std::string> shown;
  shown.clear();
  zk_Host_setMessagePresenter(
      [](const char *title, const char *text, void *user) {
        EXPECT_EQ(user, &shown);
        shown.push_back(std::string(title) + ": " + text);
      },
      &shown);
  const int before = zk_Db_setErrorBoxes(1);
  EXPECT_EQ(openTable(path("NONE")), -1);
  zk_Db_setErrorBoxes(before);
  ASSERT_EQ(shown.size(), 1u);
  EXPECT_NE(shown[0].find("NONE"), std::string::npos) << shown[0];
  EXPECT_EQ(openTable(path("NONE")), -1);
  EXPECT_EQ(shown.size(), 1u);
}

}  // namespace
