#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <vector>

#include "tests/fake_com.h"
#include "tests/fake_component.h"
#include "tests/refusing_memory.h"
#include "zk_baselib.h"

namespace {

namespace fs = std::filesystem;
using Names = std::vector<std::string>;

// Each test works in an empty directory of its own, which is the current one meanwhile.
class Directories : public testing::Test {
 protected:
  void SetUp() override {
    before_ = fs::current_path();
    root_ = fs::temp_directory_path() / (std::string("zk_dir_test_") + zk_Fname_createTemp());
    fs::create_directory(root_);
    fs::current_path(root_);
  }
  void TearDown() override {
    fs::current_path(before_);
    fs::remove_all(root_);
  }

  static void write(const std::string &name) { std::ofstream(name) << name; }
  // Everything below the current directory, with "/" between the names, sorted.
  static Names tree() {
    Names names;
    for (const auto &entry : fs::recursive_directory_iterator(".")) {
      names.push_back(entry.path().lexically_normal().generic_string());
    }
    std::sort(names.begin(), names.end());
    return names;
  }
  static Names list(const char *pattern) {
    Names names;
    StrList *found = zk_Dir_list(pattern);
    for (zk_StrList_start(found); found != nullptr && !zk_StrList_eol(found);
         zk_StrList_next(found)) {
      names.push_back(zk_StrList_getCurr(found));
    }
    zk_StrList_destroy(found);
    return names;
  }
  static std::string currentName() { return fs::current_path().filename().string(); }
  const fs::path &root() const { return root_; }

 private:
  fs::path before_;
  fs::path root_;
};

TEST_F(Directories, CreateMakesWhatIsMissing) {
  fs::create_directory("There");
  write("file");
  struct {
    const char *path;
    int result;
    Names made;
  } const cases[] = {
      {"One\\Two\\three", 0, {"one", "one/two", "one/two/three"}},
      {"one\\two\\three\\", -1, {}},
      {"one/two/Four/", 0, {"one/two/four"}},
      {"there\\below", 0, {"There/below"}},
      {"There", -1, {}},
      {"file\\below", -1, {}},
      {"\\\\", -1, {}},
      {"", -1, {}},
  };
  Names expected = tree();
  for (const auto &c : cases) {
    SCOPED_TRACE(c.path);
    EXPECT_EQ(zk_Dir_create(c.path), c.result);
    expected.insert(expected.end(), c.made.begin(), c.made.end());
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(tree(), expected);
  }
  EXPECT_EQ(zk_Dir_create((std::string("deep\\") + std::string(507, 'x')).c_str()), -1);
  EXPECT_EQ(tree(), expected) << "half of a name that is too long";
}

TEST_F(Directories, DeleteRemovesEmptyDirectoriesOnly) {
  fs::create_directories("One/two");
  write("file");
  EXPECT_EQ(zk_Dir_delete("one"), -1);
  EXPECT_EQ(zk_Dir_delete("file"), -1);
  EXPECT_EQ(zk_Dir_delete("none"), -1);
  EXPECT_EQ(zk_Dir_delete("ONE\\TWO"), 0);
  EXPECT_EQ(zk_Dir_delete("one\\"), 0);
  EXPECT_EQ(tree(), Names{"file"});
}

TEST_F(Directories, ChangeAndCurrent) {
  fs::create_directories("sub/below");
  EXPECT_EQ(zk_Dir_change("sub\\below\\"), 0);
  EXPECT_EQ(currentName(), "below");
  EXPECT_TRUE(fs::equivalent(zk_Dir_current(), fs::current_path()));
  for (const char *path : {"none", "none\\", "1:", "1:\\tmp", ""}) {
    EXPECT_EQ(zk_Dir_change(path), -1) << path;
    EXPECT_EQ(currentName(), "below") << path;
  }
  EXPECT_EQ(zk_Dir_change(".."), 0);
  EXPECT_EQ(currentName(), "sub");
  EXPECT_EQ(zk_Dir_change("\\"), 0);
  EXPECT_EQ(fs::current_path(), fs::current_path().root_path());
  EXPECT_EQ(zk_Dir_change("C:"), 0);
  EXPECT_EQ(zk_Dir_change("C:\\"), 0) << "the separator of a root stays";
  EXPECT_EQ(fs::current_path(), fs::current_path().root_path());
  EXPECT_EQ(zk_Dir_getParent("."), nullptr);
}

TEST_F(Directories, ParentOfAPath) {
  struct {
    const char *path, *parent;
  } const cases[] = {
      {"c:\\a\\b\\", "c:\\a\\"}, {"c:\\a\\b", "c:\\a\\"},           {"c:\\a", "c:\\"},
      {"c:\\", nullptr},         {"c:\\a\\..\\b\\.\\c", "c:\\b\\"}, {"", nullptr},
  };
  for (const auto &c : cases) EXPECT_STREQ(zk_Dir_getParent(c.path), c.parent) << c.path;
  const std::string deep = "c:\\" + std::string(505, 'x') + "\\y\\";
  EXPECT_EQ(std::string(zk_Dir_getParent(deep.c_str())), deep.substr(0, 509));
  EXPECT_EQ(zk_Dir_getParent(("c:\\xxx" + deep.substr(3)).c_str()), nullptr) << "too long";

  const char *parent = zk_Dir_getParent("c:\\a\\b\\c");
  parent = zk_Dir_getParent(parent);
  EXPECT_STREQ(zk_Dir_getParent(parent), "c:\\") << "its own result is a path, too";
  std::string here = zk_Dir_getParent("file");
  here.pop_back();  // a separator
  EXPECT_TRUE(fs::equivalent(here, root())) << here;
}

TEST_F(Directories, ListGivesNamesInLowerCase) {
  fs::create_directories("Sub/Below.TXT");
  write("Sub/b.Txt");
  write("Sub/A.txt");
  write("Sub/other");
  char name[512];
  ASSERT_EQ(zk_File_findFirst("Sub\\*", name), 0);
  EXPECT_EQ(list("SUB\\*.TXT"), (Names{"sub\\a.txt", "sub\\b.txt", "sub\\below.txt"}));
  EXPECT_EQ(list("Sub/o*"), Names{"sub/other"});
  EXPECT_EQ(list("*"), Names{"sub"});
  EXPECT_EQ(zk_Dir_list("Sub\\*.none"), nullptr);
  EXPECT_EQ(zk_Dir_list("none\\*"), nullptr);
  EXPECT_EQ(zk_File_findNext(name), 0) << "a search under way goes on";
  EXPECT_STREQ(name, "b.Txt");
}

TEST_F(Directories, DeleteTreeTakesEverything) {
  std::string deep = "Tree";
  for (int i = 0; i < 40; ++i) deep += "/level";
  fs::create_directories(deep);
  write(deep + "/file");
  fs::create_directories("tree2/empty");
  write("Tree/file with blank");
  EXPECT_EQ(zk_Dir_deleteTree("tree\\"), 1);
  EXPECT_EQ(tree(), (Names{"tree2", "tree2/empty"}));
  EXPECT_EQ(zk_Dir_deleteTree("tree"), 0);
  EXPECT_EQ(zk_Dir_deleteTree("none"), 0);
  write("file");
  EXPECT_EQ(zk_Dir_deleteTree("file"), 0);
  EXPECT_EQ(tree(), (Names{"file", "tree2", "tree2/empty"}));
}

TEST_F(Directories, DeleteTreeLeavesProtectedFilesAndWhatLinksLeadTo) {
  fs::create_directories("outside");
  write("outside/file");
  fs::create_directories("tree/sub");
  write("tree/sub/protected");
  write("tree/sub/other");
  zk_File_setReadOnlyAccess("tree\\sub\\protected");
  std::error_code error;
  fs::create_directory_symlink(fs::absolute("outside"), "tree/link", error);
  fs::create_symlink("nowhere", "tree/dangling", error);
  const Names outside = {"outside", "outside/file"};

  EXPECT_EQ(zk_Dir_deleteTree("tree"), 0);
  EXPECT_EQ(tree(), (Names{"outside", "outside/file", "tree", "tree/sub", "tree/sub/protected"}));
  zk_File_setReadWriteAccess("tree\\sub\\protected");
  EXPECT_EQ(zk_Dir_deleteTree("tree"), 1);
  EXPECT_EQ(tree(), outside);

  fs::create_directory_symlink(fs::absolute("outside"), "link", error);
  if (!error) {
    EXPECT_EQ(zk_Dir_deleteTree("link\\"), 1);
    EXPECT_EQ(tree(), outside);
  }
}

// Nobody means the whole drive. (Drives stand for directories on Linux only.)
TEST_F(Directories, DeleteTreeRefusesRoots) {
  write("file");
  if (zk_Host_setDriveDirectory('q', root().string().c_str()) == 0) GTEST_SKIP();
  for (const char *path : {"Q:", "q:\\", "Q:/", "Q:\\none\\.."}) {
    EXPECT_EQ(zk_Dir_deleteTree(path), 0) << path;
    EXPECT_EQ(tree(), Names{"file"}) << path;
  }
  zk_Host_setDriveDirectory('q', nullptr);
}

TEST_F(Directories, TheComponentIsAsked) {
  {
    fake::Component component;
    component.directories = {"C:\\Known"};
    EXPECT_EQ(zk_Dir_exists("C:\\Known"), 1);
    EXPECT_EQ(zk_Dir_exists("C:\\Unknown"), 0);
    component.calls.clear();
    zk_Dir_create("Made\\Here");
    EXPECT_EQ(component.calls, Names{"Revalidate(made\\here\\)"});
    component.failure = E_FAIL;
    EXPECT_EQ(zk_Dir_exists("C:\\Known"), 0);
  }
  const support::NoComponent none;
  EXPECT_EQ(zk_Dir_exists("made"), 0) << "without a component nobody knows";
}

TEST(Drives, NumbersAndSwitching) {
  const fs::path before = fs::current_path();
  EXPECT_EQ(zk_Drive_num('c'), 3);
  EXPECT_EQ(zk_Drive_num('A'), 1);
  EXPECT_EQ(zk_Drive_num('1'), -15);
  EXPECT_EQ(zk_Drive_set(0), -1);
  EXPECT_EQ(zk_Drive_set(zk_Drive_get()), -1) << "the current drive is never told";
  EXPECT_EQ(zk_Drive_set(26), 0) << "whether there is such a drive or not";
  fs::current_path(before);
}

TEST_F(Directories, RefusedMemory) {
  support::forEveryAllocation("list", [](support::Attempt &attempt) {
    write("a");
    write("b");
    StrList *found = attempt.during([] { return zk_Dir_list("*"); });
    EXPECT_EQ(found == nullptr, attempt.refused());
    zk_StrList_destroy(found);
  });
  support::forEveryAllocation("deleteTree", [](support::Attempt &attempt) {
    fs::create_directories("tree/sub");
    write("tree/sub/file");
    const int done = attempt.during([] { return zk_Dir_deleteTree("tree"); });
    EXPECT_EQ(done, fs::exists("tree") ? 0 : 1);
    EXPECT_EQ(zk_Dir_deleteTree("tree"), 1 - done) << "works when tried again";
  });
}

}  // namespace
