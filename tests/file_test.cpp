#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "zk_baselib.h"

namespace {

namespace fs = std::filesystem;
using Names = std::vector<std::string>;

// Each test works in an empty directory of its own, which is the current one meanwhile.
class Directory : public testing::Test {
 protected:
  void SetUp() override {
    const testing::TestInfo *info = testing::UnitTest::GetInstance()->current_test_info();
    before_ = fs::current_path();
    root_ = fs::temp_directory_path() /
            (std::string("zk_file_test_") + info->name() + "_" + zk_Fname_createTemp());
    fs::create_directory(root_);
    fs::current_path(root_);
  }
  void TearDown() override {
    char name[512];
    while (zk_File_findNext(name) == 0) {
    }
    fs::current_path(before_);
    fs::remove_all(root_);
  }

  static void write(const std::string &name, const std::string &text) {
    std::ofstream(name, std::ios::binary) << text;
  }
  static std::string read(const std::string &name) {
    std::ifstream in(name, std::ios::binary);
    return in ? std::string(std::istreambuf_iterator<char>(in), {}) : "(missing)";
  }
  // What lies in the directory, in the order of the names.
  static Names names() {
    Names result;
    for (const auto &entry : fs::directory_iterator(".")) {
      result.push_back(entry.path().filename().string());
    }
    std::sort(result.begin(), result.end());
    return result;
  }
  static Names search(const char *pattern) {
    Names result;
    char name[512];
    for (int status = zk_File_findFirst(pattern, name); status == 0;
         status = zk_File_findNext(name)) {
      result.push_back(name);
    }
    return result;
  }
  static Names lines(StrList *list) {
    Names result;
    for (zk_StrList_start(list); list != nullptr && !zk_StrList_eol(list); zk_StrList_next(list)) {
      result.push_back(zk_StrList_getCurr(list));
    }
    zk_StrList_destroy(list);
    return result;
  }
  const fs::path &root() const { return root_; }

 private:
  fs::path before_;
  fs::path root_;
};
using FileNames = Directory;
using Files = Directory;

// ---- File names --------------------------------------------------------------------------------

struct NameCase {
  const char *path, *path_part, *name, *ext, *without_ext, *dir, *with_ext;
};

TEST(FileName, PartsAndExtensions) {
  const NameCase cases[] = {
      {"C:\\dir.x\\name", "C:\\dir.x\\", "name", "", "C:\\dir.x\\name", "C:\\dir.x\\name\\",
       "C:\\dir.x\\name.dat"},
      {"C:\\d\\a.b.txt", "C:\\d\\", "a.b.txt", "txt", "C:\\d\\a.b", "C:\\d\\a.b.txt\\",
       "C:\\d\\a.b.dat"},
      {"a/b.c/d", "a/b.c/", "d", "", "a/b.c/d", "a/b.c/d\\", "a/b.c/d.dat"},
      {"a/b/", "a/b/", "", "", "a/b/", "a/b/", "a/b/.dat"},
      {"C:name.", "C:", "name.", "", "C:name", "C:name.\\", "C:name.dat"},
      {"", "", "", "", "", "", ".dat"},
  };
  for (const NameCase &c : cases) {
    SCOPED_TRACE(c.path);
    char buffer[512];
    const auto edit = [&](auto function) {
      std::strcpy(buffer, c.path);
      return std::string(function(buffer));
    };
    EXPECT_EQ(zk_Fname_extractPath(c.path, buffer), static_cast<int>(std::strlen(c.path_part)));
    EXPECT_STREQ(buffer, c.path_part);
    EXPECT_STREQ(zk_Fname_extractExt(c.path, buffer), c.ext);
    EXPECT_EQ(edit(zk_Fname_rmvPath), c.name);
    EXPECT_EQ(edit(zk_Fname_rmvExt), c.without_ext);
    EXPECT_EQ(edit(zk_Fname_fixDir), c.dir);
    EXPECT_EQ(edit([](char *path) { return zk_Fname_addExt(path, "dat"); }), c.with_ext);
    EXPECT_EQ(edit([](char *path) { return zk_Fname_addExt(path, ".dat"); }), c.with_ext);
  }
}

TEST(FileName, ModExtReplacesOnlyWhenTold) {
  struct {
    const char *path, *ext;
    int replace;
    const char *result;
  } const cases[] = {
      {"a.txt", "bak", 0, "a.txt"}, {"a.txt", "bak", 1, "a.bak"}, {"a.txt", "", 1, "a"},
      {"a.txt", nullptr, 1, "a"},   {"a.txt", "", 0, "a.txt"},    {"a", "bak", 0, "a.bak"},
  };
  for (const auto &c : cases) {
    char path[512];
    std::strcpy(path, c.path);
    EXPECT_EQ(zk_Fname_modExt(path, c.ext, c.replace), 1);
    EXPECT_STREQ(path, c.result);
  }
}

TEST(FileName, BuildAddsWhatIsMissing) {
  struct {
    const char *drive, *dir, *name, *ext, *result;
  } const cases[] = {
      {"C", "tmp", "f", ".dat", "C:tmp\\f.dat"}, {"C:", "\\tmp\\", "f", "dat", "C:\\tmp\\f.dat"},
      {nullptr, "a/", "f", nullptr, "a/f"},      {"", "", "f", "", "f"},
      {"C", nullptr, nullptr, nullptr, "C:"},
  };
  for (const auto &c : cases) {
    char out[512];
    EXPECT_STREQ(zk_Fname_build(out, c.drive, c.dir, c.name, c.ext), c.result);
  }
  char both[512] = "dir";
  EXPECT_STREQ(zk_Fname_build(both, "C", both, both, both), "C:dir\\dir.dir");
}

// Nothing is written behind the 512 bytes of a buffer.
TEST(FileName, ResultsAreBounded) {
  struct {
    char path[512];
    char guard[4];
  } s;
  const std::string longest(511, 'x');
  const std::string longer(2000, 'y');
  const auto fresh = [&](const std::string &text) {
    std::strcpy(s.path, text.c_str());
    std::memset(s.guard, '#', sizeof s.guard);
  };
  const auto check = [&](const std::string &expected) {
    EXPECT_EQ(std::string(s.path), expected);
    EXPECT_EQ(std::string(s.guard, 4), "####");
  };
  fresh(longest);
  zk_Fname_fixDir(s.path);
  check(longest);
  zk_Fname_addExt(s.path, "dat");
  check(longest);
  fresh(longest.substr(2));
  zk_Fname_addExt(s.path, "dat");
  check(longest.substr(2) + ".d");
  fresh("a.b");
  zk_Fname_addExt(s.path, longer.c_str());
  check("a." + longer.substr(0, 509));
  zk_Fname_build(s.path, "C", "d", longer.c_str(), "e");
  check("C:d\\" + longer.substr(0, 507));
  EXPECT_EQ(zk_Fname_extractPath((longer + "\\a").c_str(), s.path), 511);
  check(longer.substr(0, 511));
  zk_Fname_extractExt(("a." + longer).c_str(), s.path);
  check(longer.substr(0, 511));
}

TEST(FileName, AbbreviateKeepsRootAndName) {
  struct {
    const char *path;
    int32_t width;
    const char *result;
  } const cases[] = {
      {"C:\\one\\two\\name.txt", 19, "C:\\one\\two\\name.txt"},
      {"C:\\first\\two\\name.txt", 20, "C:\\...\\two\\name.txt"},
      {"C:\\one\\two\\name.txt", 18, "C:\\...\\name.txt"},
      {"C:\\one\\two\\name.txt", 14, "name.txt"},
      {"C:\\one\\two\\name.txt", 7, "name..."},
      {"C:\\one\\two\\name.txt", 3, "nam"},
      {"C:\\one\\two\\name.txt", -1, ""},
      {"/usr/local/share/x", 11, "/.../x"},
      {"/usr/local/share/x", 12, "/.../share/x"},
      {"C:\\a\\longer_name", 15, "longer_name"},
  };
  for (const auto &c : cases) {
    char path[512];
    std::strcpy(path, c.path);
    const std::string result = zk_Fname_abbreviate(path, c.width);
    EXPECT_EQ(result, c.result) << c.path << " " << c.width;
  }
}

TEST(FileName, CreateTempLeavesTheHostsRandomNumbersAlone) {
  std::srand(7);
  const int expected = std::rand();
  std::srand(7);
  const std::string name = zk_Fname_createTemp();
  EXPECT_EQ(std::rand(), expected);
  EXPECT_EQ(name.size(), 8u);
  EXPECT_EQ(name.substr(0, 3), "zk_");
  EXPECT_EQ(name.find_first_not_of("0123456789", 3), std::string::npos);
}

TEST_F(FileNames, FullPath) {
  EXPECT_STREQ(zk_Fname_fullPath("C:\\a\\.\\b\\..\\c.txt"), "C:\\a\\c.txt");
  EXPECT_STREQ(zk_Fname_fullPath("C:/../../a/"), "C:\\a\\");
  // A static result may be passed back in.
  const std::string once = zk_Fname_fullPath("sub\\..\\x.txt");
  EXPECT_EQ(fs::path(once), fs::current_path() / "x.txt");
  EXPECT_EQ(zk_Fname_fullPath(zk_Fname_fullPath("x.txt")), once);
  const std::string longer(600, 'x');
  EXPECT_EQ(zk_Fname_fullPath(longer.c_str()), longer.substr(0, 511));
}

TEST_F(FileNames, RelativeTo) {
  struct {
    const char *base, *path, *result;
  } const cases[] = {
      {"C:\\a\\b", "C:\\a\\c\\f.txt", "..\\c\\f.txt"},
      {"C:\\a\\b\\", "C:\\A\\B\\f.txt", "f.txt"},
      {"C:\\a\\bc", "C:\\a\\b", "..\\b"},
      {"C:\\", "C:\\a\\b", "a\\b"},
      {"C:\\a\\b", "C:\\", "..\\.."},
      {"C:\\a", "D:\\a\\f", "D:\\a\\f"},
      {"C:\\a", "C:\\a", ""},
      {"x/y", "x\\z\\..\\f", "..\\f"},
      {nullptr, "a\\f", "a\\f"},
  };
  for (const auto &c : cases) {
    EXPECT_STREQ(zk_File_getRelativeFilename(c.base, c.path), c.result) << c.path;
  }
  const char *own = zk_File_getRelativeFilename("C:\\a", "C:\\b\\f");
  EXPECT_STREQ(zk_File_getRelativeFilename("d", own), "..\\..\\b\\f");
}

TEST_F(FileNames, NetworkNameOfAnUnmappedDriveIsThePath) {
  EXPECT_STREQ(zk_File_getUNCPathName("Q:\\dir\\f.txt"), "Q:\\dir\\f.txt");
  EXPECT_STREQ(zk_File_getUNCPathName("dir\\f.txt"), "dir\\f.txt");
  EXPECT_STREQ(zk_File_getUNCPathName(nullptr), "");
}

// ---- Finding files -----------------------------------------------------------------------------

TEST_F(Files, AreFoundInAnyCaseAndWithEitherSeparator) {
  fs::create_directories("Sub/Deep");
  write("Sub/Deep/File.Txt", "x");
  for (const char *path : {"Sub/Deep/File.Txt", "sub\\DEEP\\file.txt", ".\\SUB/deep\\\\FILE.TXT"}) {
    EXPECT_EQ(zk_File_exists(path), 1) << path;
  }
  const std::string absolute = zk_Fname_fullPath("sub\\deep\\file.txt");
  EXPECT_EQ(zk_File_exists(absolute.c_str()), 1);
  EXPECT_EQ(zk_File_exists("sub\\deep"), 0) << "a directory is no file";
  EXPECT_EQ(zk_File_exists("sub\\deep\\none.txt"), 0);
  EXPECT_EQ(zk_File_exists("sub\\none\\file.txt"), 0);
  EXPECT_EQ(zk_File_hasAccess("sub\\deep", 0), 1);

  // A new file goes into the directory that is there.
  EXPECT_EQ(zk_File_create("SUB\\deep\\New.txt"), 1);
  EXPECT_EQ(read("Sub/Deep/New.txt"), "");
  EXPECT_EQ(zk_File_create("sub\\deep\\FILE.txt"), 1) << "exists already";
  EXPECT_EQ(read("Sub/Deep/File.Txt"), "x");
  EXPECT_EQ(zk_File_create("sub"), 0);
  EXPECT_EQ(zk_File_create("none\\a"), 0);
}

TEST_F(Files, SearchUnderstandsDosWildcards) {
  fs::create_directory("dir.d");
  for (const char *name : {"a.txt", "B.TXT", "c.b.txt", "noext", "ab.dat", ".dot"}) write(name, "");
  const struct {
    const char *pattern;
    Names found;
  } cases[] = {
      {"*", {".dot", "a.txt", "ab.dat", "B.TXT", "c.b.txt", "dir.d", "noext"}},
      {"*.*", {".dot", "a.txt", "ab.dat", "B.TXT", "c.b.txt", "dir.d", "noext"}},
      {"*.txt", {"a.txt", "B.TXT", "c.b.txt"}},
      {"?.txt", {"a.txt", "B.TXT"}},
      {"???.dat", {"ab.dat"}},
      {"*.", {"noext"}},
      {"no*t", {"noext"}},
      {"a*.?a*", {"ab.dat"}},
      {"*b*", {"ab.dat", "B.TXT", "c.b.txt"}},
      {"NOEXT", {"noext"}},
      {"noext.", {"noext"}},
      {"?", {}},
      {"none\\*", {}},
      {"", {}},
  };
  for (const auto &c : cases) {
    EXPECT_EQ(search(c.pattern), c.found) << c.pattern;
    const std::string withDirectory = std::string("DIR.D\\..\\") + c.pattern;
    if (*c.pattern != '\0') {
      EXPECT_EQ(search(withDirectory.c_str()), c.found) << withDirectory;
    }
  }
  char name[512];
  EXPECT_EQ(zk_File_findNext(name), -1) << "the search has ended";
}

TEST_F(Files, DeleteTakesFilesOnlyAndLeavesTheHostsSearchAlone) {
  fs::create_directories("sub/dir.tmp");
  for (const char *name : {"sub/a.tmp", "sub/B.TMP", "sub/c.txt", "sub/d.tmp"}) write(name, "");
  zk_File_setReadOnlyAccess("sub\\d.tmp");
  char name[512];
  ASSERT_EQ(zk_File_findFirst("sub\\*", name), 0);
  EXPECT_EQ(zk_File_delete("SUB\\*.tmp", 0), 1);
  EXPECT_EQ(zk_File_findNext(name), 0);
  EXPECT_STREQ(name, "B.TMP");
  EXPECT_EQ(search("sub\\*"), (Names{"c.txt", "d.tmp", "dir.tmp"}));
  EXPECT_EQ(zk_File_delete("sub\\*.tmp", 0), 0) << "a directory and a read-only file are left";
  EXPECT_EQ(zk_File_deleteSingle("sub\\d.tmp"), 0);
  zk_File_setReadWriteAccess("sub\\d.tmp");
  EXPECT_EQ(zk_File_deleteSingle("SUB\\D.TMP"), 1);
  EXPECT_EQ(zk_File_deleteSingle("sub"), 0);
}

TEST_F(Files, DeleteReadsAListOfNames) {
  fs::create_directory("sub");
  for (const char *name : {"a", "b", "sub/c", "keep"}) write(name, "");
  write("list.txt", "a\r\n\nmissing\nSUB\\c\nlist.txt\nb");
  EXPECT_EQ(zk_File_delete("list.txt", 1), 1);
  EXPECT_EQ(names(), (Names{"keep", "sub"}));
  EXPECT_TRUE(fs::is_empty("sub"));
  EXPECT_EQ(zk_File_delete("list.txt", 1), 0);
}

// ---- Access and times --------------------------------------------------------------------------

TEST_F(Files, AccessFollowsTheReadOnlyMark) {
  write("a", "text");
  const auto modes = [](const char *path) {
    std::string result;
    for (int mode = -1; mode <= 8; ++mode)
      result += static_cast<char>('0' + zk_File_hasAccess(path, mode));
    return result;
  };
  EXPECT_EQ(modes("a"), "0101010100");
  EXPECT_EQ(modes("none"), "0000000000");
  EXPECT_EQ(zk_File_setReadOnlyAccess("a"), 1);
  EXPECT_EQ(modes("a"), "0100010000");
  EXPECT_EQ(zk_File_isWriteEnabled("a"), 0);
  write("b", "other");
  EXPECT_EQ(zk_File_copy("b", "a"), 1) << "read-only for the superuser, too";
  EXPECT_EQ(zk_File_append("a", "b"), 1);
  EXPECT_EQ(zk_File_move("b", "a"), 0);
  EXPECT_EQ(zk_File_encrypt("a", "b"), 0);
  EXPECT_EQ(read("a"), "text");
  EXPECT_EQ(zk_File_setReadWriteAccess("a"), 1);
  EXPECT_EQ(zk_File_isWriteEnabled("A"), 1);
  EXPECT_EQ(zk_File_setReadOnlyAccess("none"), 0);
}

TEST_F(Files, Times) {
  write("a", "");
  write("b", "");
  const time_t stamp = 1234567890;
  time_t time = 0;
  EXPECT_EQ(zk_File_setTime("a", stamp), 1);
  EXPECT_EQ(zk_File_getTime("A", &time), 0);
  EXPECT_EQ(time, stamp);
  EXPECT_EQ(zk_File_setTime("b", stamp + 1), 1);
  EXPECT_EQ(zk_File_cmpTime("a", "b"), -1);
  EXPECT_EQ(zk_File_cmpTime("b", "a"), 1);
  EXPECT_EQ(zk_File_cmpTime("a", "a"), 0);
  EXPECT_EQ(zk_File_cmpTime("none", "b"), -1);
  EXPECT_EQ(zk_File_cmpTime("a", "none"), 1);
  EXPECT_EQ(zk_File_cmpTime("none", "none"), -1);
  EXPECT_EQ(zk_File_getTime("none", &time), -1);
  EXPECT_EQ(time, stamp);
  EXPECT_EQ(zk_File_setTime("none", stamp), 0);
}

TEST_F(Files, LengthCountsWhatIsNotYetWrittenOut) {
  FILE *stream = std::fopen("a", "wb+");
  ASSERT_NE(stream, nullptr);
  std::fputs("0123456789", stream);
  EXPECT_EQ(zk_File_length(stream), 10);
  std::fseek(stream, 3, SEEK_SET);
  EXPECT_EQ(zk_File_length(stream), 10);
  EXPECT_EQ(std::fgetc(stream), '3') << "the position stays";
  std::fclose(stream);
}

// ---- Lines -------------------------------------------------------------------------------------

TEST_F(Files, ReadLine) {
  write("a", "one\r\n\n12345\n123456789\nab\rc\r\r\n1234\r\nlast\r");
  FILE *stream = std::fopen("a", "rb");
  ASSERT_NE(stream, nullptr);
  for (const char *expected : {"one", "", "12345", "12345", "ab\rc\r", "1234", "last\r"}) {
    char buffer[8] = "#######";
    EXPECT_EQ(zk_File_readLine(stream, buffer, 5), 1);
    EXPECT_STREQ(buffer, expected);
    EXPECT_EQ(buffer[6], '#') << "written behind size + 1";
  }
  char buffer[8] = "#";
  EXPECT_EQ(zk_File_readLine(stream, buffer, 5), 0);
  EXPECT_STREQ(buffer, "#") << "at the end of the file nothing is touched";
  std::fclose(stream);
}

TEST_F(Files, ReadFileMakesALineList) {
  const std::string longLine(600, 'x');
  write("a", "a\tb\r\n\n" + longLine + "\n\tend");
  EXPECT_EQ(lines(zk_File_readFile("A")), (Names{"a b", "", longLine.substr(0, 512), " end"}));
  StrList *exact = zk_File_readFileExactly("a");
  ASSERT_NE(exact, nullptr);
  EXPECT_EQ(zk_StrList_length(exact), 4u);
  zk_StrList_start(exact);
  EXPECT_STREQ(zk_StrList_getCurr(exact), "a\tb\n");
  zk_StrList_next(exact);
  EXPECT_STREQ(zk_StrList_getCurr(exact), "\n");
  zk_StrList_destroy(exact);
  write("empty", "");
  fs::create_directory("dir");
  for (const char *path : {"empty", "none", "dir"}) {
    EXPECT_EQ(zk_File_readFile(path), nullptr) << path;
    EXPECT_EQ(zk_File_readFileExactly(path), nullptr) << path;
  }
}

// ---- Copying and moving ------------------------------------------------------------------------

// Contents around the size of a block.
std::string contents(std::size_t size) {
  std::string text(size, '\0');
  for (std::size_t i = 0; i < size; ++i) text[i] = static_cast<char>(i * 31 + i / 256);
  return text;
}

TEST_F(Files, CopyAppendAndCopyRestKeepEveryByte) {
  for (const std::size_t size : {0, 1, 16382, 16383, 16384, 40000}) {
    SCOPED_TRACE(size);
    const std::string text = contents(size);
    write("source", text);
    zk_File_setTime("source", 1000000000);
    write("target", "longer than some of the sources");
    EXPECT_EQ(zk_File_copy("SOURCE", "target"), 0);
    EXPECT_EQ(read("target"), text);
    EXPECT_EQ(zk_File_cmpTime("source", "target"), 0);
    EXPECT_EQ(zk_File_append("target", "source"), 0);
    EXPECT_EQ(read("target"), text + text);
    EXPECT_EQ(zk_File_append("fresh", "source"), 0);
    EXPECT_EQ(read("fresh"), text);
    fs::remove("fresh");

    FILE *source = std::fopen("source", "rb");
    FILE *target = std::fopen("target", "wb");
    ASSERT_TRUE(source != nullptr && target != nullptr);
    std::fgetc(source);
    EXPECT_EQ(zk_File_copyRest(target, source), 1);
    std::fclose(source);
    std::fclose(target);
    EXPECT_EQ(read("target"), text.substr(std::min<std::size_t>(1, size)));
  }
}

TEST_F(Files, AFileIsNotCopiedOntoItself) {
  write("a.txt", "text");
  fs::create_hard_link("a.txt", "link.txt");
  const std::string absolute = zk_Fname_fullPath("A.TXT");
  for (const char *other : {"a.txt", "A.TXT", ".\\a.txt", absolute.c_str(), "link.txt"}) {
    SCOPED_TRACE(other);
    EXPECT_EQ(zk_File_copy("a.txt", other), 1);
    EXPECT_EQ(zk_File_append(other, "a.txt"), 1);
    EXPECT_EQ(zk_File_encrypt(other, "a.txt"), 0);
    EXPECT_EQ(zk_File_move("a.txt", other), 1) << "a success, but nothing is done";
    EXPECT_EQ(read("a.txt"), "text");
  }
  FILE *source = std::fopen("a.txt", "rb");
  FILE *target = std::fopen("link.txt", "ab");
  EXPECT_EQ(zk_File_copyRest(target, source), 0) << "would never end";
  std::fclose(source);
  std::fclose(target);
  EXPECT_EQ(names(), (Names{"a.txt", "link.txt"}));
}

TEST_F(Files, FailedCopiesLeaveNothingBehind) {
  write("a", "text");
  fs::create_directory("dir");
  EXPECT_EQ(zk_File_copy("none", "b"), 1);
  EXPECT_EQ(zk_File_copy("dir", "b"), 1);
  EXPECT_EQ(zk_File_copy("a", "dir"), 1);
  EXPECT_EQ(zk_File_copy("a", "none\\b"), 1);
  EXPECT_EQ(zk_File_append("b", "none"), 1);
  EXPECT_EQ(zk_File_append("none\\b", "a"), 1);
  EXPECT_EQ(zk_File_move("none", "b"), 0);
  EXPECT_EQ(zk_File_move("none", "a"), 0);
  EXPECT_EQ(zk_File_move("a", "dir"), 0);
  EXPECT_EQ(names(), (Names{"a", "dir"}));
  EXPECT_EQ(read("a"), "text");
}

TEST_F(Files, MoveReplaces) {
  write("a", "new");
  write("b", "old");
  zk_File_setTime("a", 1000000000);
  EXPECT_EQ(zk_File_move("A", "B"), 1);
  EXPECT_EQ(names(), Names{"b"});
  EXPECT_EQ(read("b"), "new");

  const fs::path memory = "/dev/shm";  // another device, where there is one
  if (!fs::is_directory(memory)) return;
  const fs::path away = memory / root().filename();
  EXPECT_EQ(zk_File_move("b", away.string().c_str()), 1);
  EXPECT_TRUE(names().empty());
  EXPECT_EQ(zk_File_move(away.string().c_str(), "c"), 1);
  EXPECT_EQ(read("c"), "new");
  time_t time = 0;
  zk_File_getTime("c", &time);
  EXPECT_EQ(time, 1000000000);
  EXPECT_FALSE(fs::exists(away));
}

TEST_F(Files, ScrambledTwiceIsTheSame) {
  const std::string text = contents(40000);
  write("plain", text);
  EXPECT_EQ(zk_File_encrypt("hidden", "plain"), 1);
  const std::string hidden = read("hidden");
  ASSERT_EQ(hidden.size(), text.size());
  std::size_t changed = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    changed += hidden[i] != text[i];
    // The key repeats after 512 bytes, across the blocks of reading.
    if (i >= 512) {
      ASSERT_EQ(hidden[i] ^ text[i], hidden[i - 512] ^ text[i - 512]) << i;
    }
  }
  EXPECT_GT(changed, text.size() * 9 / 10);
  EXPECT_EQ(zk_File_decrypt("again", "hidden"), 1);
  EXPECT_EQ(read("again"), text);

  EXPECT_EQ(zk_File_encrypt("again", "none"), 0);
  EXPECT_EQ(read("again"), "") << "without a source the destination is left empty: that is meant";
}

// ---- Pieces ------------------------------------------------------------------------------------

TEST_F(Files, SliceAndMend) {
  const struct {
    std::size_t size;
    int32_t pieceSize;
    int32_t pieces;
  } cases[] = {{10, 5, 3},         {11, 5, 3},         {9, 5, 2},
               {0, 5, 1},          {3, 1, 4},          {65535, 65535, 2},
               {200000, 65536, 4}, {200000, 70000, 3}, {131070, 131070, 2}};
  for (const auto &c : cases) {
    SCOPED_TRACE(c.size);
    const std::string text = contents(c.size);
    write("A.dat", text);
    EXPECT_EQ(zk_File_slice("a.DAT", c.pieceSize), c.pieces);
    std::string joined;
    for (int32_t i = 1; i <= c.pieces; ++i) {
      const std::string piece = read("a." + std::to_string(i));
      if (i < c.pieces) {
        EXPECT_EQ(piece.size(), static_cast<std::size_t>(c.pieceSize));
      }
      joined += piece;
    }
    EXPECT_EQ(joined, text);
    EXPECT_EQ(names().size(), static_cast<std::size_t>(c.pieces) + 1);
    write("A.dat", "stale contents");
    EXPECT_EQ(zk_File_mend("A.DAT"), c.pieces);
    EXPECT_EQ(names(), Names{"A.dat"});
    EXPECT_EQ(read("A.dat"), text);
  }
}

TEST_F(Files, AFileIsNotItsOwnPiece) {
  write("a.2", "0123456789");
  EXPECT_EQ(zk_File_slice("a.2", 5), 0);
  EXPECT_EQ(names(), Names{"a.2"});
  EXPECT_EQ(zk_File_slice("a.2", 20), 1) << "piece 2 is not written";
  EXPECT_EQ(zk_File_mend("a.2"), 0);
  EXPECT_EQ(read("a.1"), "0123456789");
  EXPECT_EQ(read("a.2"), "0123456789");
  EXPECT_EQ(zk_File_slice("a.2", 0), 0);
  EXPECT_EQ(zk_File_slice("none", 5), 0);
  EXPECT_EQ(zk_File_mend("b.dat"), 0);
  EXPECT_EQ(names(), (Names{"a.1", "a.2"}));
}

TEST_F(Files, FailuresLoseNoPiece) {
  write("a.1", "one");
  write("a.2", "two");
  fs::create_directory("a.dat");
  EXPECT_EQ(zk_File_mend("a.dat"), 0);
  EXPECT_EQ(names(), (Names{"a.1", "a.2", "a.dat"}));

  write("b.dat", "0123456789");
  write("b.2", "somebody else's");
  zk_File_setReadOnlyAccess("b.2");
  EXPECT_EQ(zk_File_slice("b.dat", 5), 0);
  EXPECT_EQ(read("b.1"), "(missing)") << "half the pieces would pass for all of them";
  EXPECT_EQ(read("b.2"), "somebody else's");
  zk_File_setReadWriteAccess("b.2");
}

// ---- Drives (they stand for directories on Linux only) ------------------------------------------

TEST_F(Files, DriveDirectories) {
  fs::create_directory("Drive");
  write("Drive/File.txt", "x");
  if (zk_Host_setDriveDirectory('q', (root() / "Drive").string().c_str()) == 0) GTEST_SKIP();
  EXPECT_EQ(zk_File_exists("Q:\\file.TXT"), 1);
  EXPECT_EQ(zk_File_exists("q:/File.txt"), 1);
  EXPECT_EQ(zk_File_exists("Q:File.txt"), 0) << "relative to the current directory";
  EXPECT_EQ(zk_File_exists("Q:drive\\file.txt"), 1);
  EXPECT_EQ(search("Q:\\*.txt"), Names{"File.txt"});
  EXPECT_EQ(search("Q:*"), Names{"Drive"});
  EXPECT_EQ(zk_Host_setDriveDirectory('Q', nullptr), 1);
  EXPECT_EQ(zk_File_exists("Q:\\file.txt"), 0);
  EXPECT_EQ(zk_Host_setDriveDirectory('1', "/"), 0);
  EXPECT_EQ(zk_Host_setDriveDirectory('Q', std::string(256, 'x').c_str()), 0);
}

}  // namespace
