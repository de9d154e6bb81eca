// The siblings of these tests (tests/siblings) stay loaded once they are: what happens without them
// comes first.
#include <gtest/gtest.h>

#include <cstdarg>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "tests/refusing_memory.h"
#include "zk_baselib.h"

extern "C" {
#include "tests/siblings/sibling.h"
}

namespace {

namespace fs = std::filesystem;

// A forwarding function as what its sibling is.
template <typename Function>
Function *as(intptr_t(ZK_CALL *function)(...)) {
  return reinterpret_cast<Function *>(reinterpret_cast<void (*)()>(function));
}

using Message = std::pair<std::string, std::string>;

const Message kNoDialogs = {
    "MFC Interface Error",
    "Unable to load the Tovik MFC Interface library\n"
    "The most likely cause is that the correct MFC DLL does not exist in your system area\n"
    "Please check the installation of this product from the Tovik distribution disk."};

const fs::path kStart = fs::current_path();

class Bridge : public testing::Test {
 protected:
  Bridge() {
    zk_Host_setMessagePresenter(
        [](const char *title, const char *text, void *user) {
          auto *self = static_cast<Bridge *>(user);
          self->messages_.emplace_back(title, text);
          if (self->tryAgain_) zk_mfcMsgBox();
        },
        this);
  }
  ~Bridge() override {
    zk_Host_setMessagePresenter(nullptr, nullptr);
    zk_Env_resetSes();
  }
  // The network directory is one in which only that sibling can be found; "" none at all.
  static void offer(const char *sibling) {
    const fs::path self = kStart / testing::internal::GetArgvs()[0];
    zk_Env_setSes("JN", (self.parent_path() / "siblings" / sibling).string().c_str());
  }

  std::vector<Message> messages_;
  bool tryAgain_ = false;
};

TEST_F(Bridge, WithoutTheDialogLibraryEachCallIsTold) {
  offer("");
  EXPECT_EQ(zk_mfcDlgAlert("text", 1), 0);
  EXPECT_EQ(messages_, std::vector<Message>{kNoDialogs});
  EXPECT_EQ(as<IntegersFn>(zk_ListCtrlEnd)(1, 2, 3, 4, 5, 6, 7, 8, 9, 10), nullptr);
  EXPECT_EQ(messages_.size(), 2u);
  EXPECT_EQ(zk_Help_Initialize(), 0);
  ASSERT_EQ(messages_.size(), 3u) << "the alert that help calls for";
  EXPECT_EQ(messages_[2], kNoDialogs);
  tryAgain_ = true;
  EXPECT_EQ(zk_mfcMsgBox(), 0);
  EXPECT_EQ(messages_.size(), 4u) << "the presenter's own message box";
}

TEST_F(Bridge, WithoutMemoryTheUserIsToldAsWell) {
  offer("");
  zk_mfcMsgBox();
  support::forEveryAllocation("mfcMsgBox", [this](support::Attempt &attempt) {
    messages_.clear();
    messages_.reserve(1);
    EXPECT_EQ(attempt.during([] { return zk_mfcMsgBox("text"); }), 0);
    ASSERT_EQ(messages_.size(), 1u);
    EXPECT_EQ(messages_[0].first, kNoDialogs.first);
    EXPECT_EQ(messages_[0].second.substr(0, 46), kNoDialogs.second.substr(0, 46));
  });
}

TEST_F(Bridge, ArgumentsPassUntouched) {
  offer("ZK_DLGLIB");
  EXPECT_STREQ(as<IntegersFn>(zk_mfcDlgFile)(1, -2, 3, -4, 5, -6, 7, -8, 9, INT64_C(-1) << 40),
               "1 -2 3 -4 5 -6 7 -8 9 -1099511627776");
  EXPECT_STREQ(as<DoublesFn>(zk_mfcDlgOpenFiles)(0.5, -1, 2, -3, 4, -5, 6, -7, 8.25, -9e100),
               "0.5 -1 2 -3 4 -5 6 -7 8.25 -9e+100");
  EXPECT_STREQ(
      as<VariableFn>(zk_mfcMsgBox)("%s %d %g %d %g %g %g %g %g %g %g %g %d %d %d %s", "a", 1, 2.5,
                                   3, 4., 5., 6., 7., 8., 9., 10., 11., 12, 13, 14, "z"),
      "a 1 2.5 3 4 5 6 7 8 9 10 11 12 13 14 z");
  EXPECT_STREQ(as<MixedFn>(zk_mfcDlgBusy_open)(-1, 2.5, "c", 3.5f, INT64_C(1) << 33,
                                               const_cast<char *>("f"), -7, 8.5L, 9, 10, 11, 12, 13,
                                               14, 15.5f, 16, INT64_C(-1) << 33),
               "-1 2.5 c 3.5 8589934592 f -7 8.5 9 10 11 12 13 14 15.5 16 -8589934592");
  EXPECT_STREQ(as<RecordsFn>(zk_mfcDlgBusy_setText)({1.5, -2, "three"}, 4, {5.5, 6.5}),
               "1.5 -2 three 4 5.5 6.5");
  EXPECT_STREQ(reinterpret_cast<const char *>(zk_mfcMsgBox("%d %s %g", 1, "two", 3.5)), "1 two 3.5")
      << "as the header declares it";
  EXPECT_TRUE(messages_.empty());
}

TEST_F(Bridge, ResultsPassUntouched) {
  offer("ZK_DLGLIB");
  EXPECT_EQ(as<DoubleFn>(zk_mfcDlgBusy_close)(5.5), 2.75);
  EXPECT_EQ(as<FloatFn>(zk_ListCtrlSelect)(5.5f), 1.375f);
  EXPECT_EQ(as<WideFn>(zk_ListCtrlAddRow)(INT64_C(0x7FFFFFFFFFFF)), INT64_C(0x800000000000));
  const LargeRecord large = as<LargeFn>(zk_ListCtrlBegin)(3);
  EXPECT_EQ(large.number, 1.5);
  EXPECT_EQ(large.whole, INT64_C(3) << 32);
  EXPECT_STREQ(large.text, "large");
  const SmallRecord small = as<SmallFn>(zk_ListGetCurrentState)(7.5);
  EXPECT_EQ(small.x, 7.5);
  EXPECT_EQ(small.y, -7.5);
  EXPECT_EQ(as<PointerFn>(zk_mfcDlg_getDirectorySelection)(this), this);
  EXPECT_EQ(as<AlignmentFn>(zk_ListSetCurrentState)(), 0);
  EXPECT_EQ(zk_ListCtrlEnd(1, 2), 0) << "the sibling does not have it";
  EXPECT_TRUE(messages_.empty());
  offer("");
  EXPECT_EQ(as<DoubleFn>(zk_mfcDlgBusy_close)(1), 0.5) << "loaded already";
}

TEST_F(Bridge, WithoutTheHelpLibraryTheDialogLibraryTells) {
  offer("ZK_DLGLIB");
  EXPECT_EQ(zk_Help_DisplayTopic("topic"), 0);
  EXPECT_STREQ(as<LastAlertFn>(zk_MfcDlg_setControlFont)(),
               "Unable to load the Tovik help Interface library\n"
               "The most likely cause is that Microsoft Internet Explorer is not loaded.\n"
               "Please install Microsoft Internet Explorer 4.0x from the Tovik distribution disk."
               "|Help Library Error");
  EXPECT_TRUE(messages_.empty());
}

TEST_F(Bridge, HelpIsForwarded) {
  offer("ZK_HELPLIB");
  EXPECT_EQ(as<PointerFn>(zk_Help_Initialize)(this), this);
  EXPECT_STREQ(as<VariableFn>(zk_Help_DisplayTopic)("%s %g", "topic", 1.5), "topic 1.5");
  EXPECT_EQ(as<DoubleFn>(zk_Help_DisplayContext)(2.5), -2.5);
  EXPECT_TRUE(messages_.empty());
}

}  // namespace
