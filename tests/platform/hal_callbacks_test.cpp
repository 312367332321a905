// The logging interface: levels, codes, replaceable sinks; the fault record.
#include <gtest/gtest.h>

#include <hal_callbacks/hal_callbacks_itf.h>
#include <qarmw/fault.h>

namespace {

TEST(HalCallbacks, KeepsLinesUpToTheLevelWithTheirCodes) {
  HalCallbacksItf& callbacks = HalCallbacksItf::getInstance();
  std::vector<HalCallbacksItf::Line> kept;
  auto previous =
      callbacks.setSink([&](const HalCallbacksItf::Line& line) { kept.push_back(line); });
  const int previous_level = callbacks.level();
  callbacks.setLevel(HalCallbacksItf::kWarning);

  callbacks.log(6, "progress %d", 1);
  callbacks.log(3, "failed %s", "here");
  callbacks.error(-7, "entry %i: %s", 5, "Entry not found");

  callbacks.setSink(std::move(previous));
  callbacks.setLevel(previous_level);
  ASSERT_EQ(kept.size(), 2u);
  EXPECT_EQ(kept[0].text, "failed here");
  EXPECT_EQ(kept[0].code, 0);
  EXPECT_EQ(kept[1].level, 3);
  EXPECT_EQ(kept[1].code, -7);
  EXPECT_EQ(kept[1].text, "entry 5: Entry not found");
}

TEST(HalCallbacks, CaptureTakesEveryLevelAndRestoresTheSink) {
  std::vector<std::string> outer;
  auto previous = HalCallbacksItf::getInstance().setSink(
      [&](const HalCallbacksItf::Line& line) { outer.push_back(line.text); });
  {
    HalLogCapture capture;
    HalCallbacksItf::getInstance().log(7, "debug %s", std::string(300, 'x').c_str());
    ASSERT_EQ(capture.lines().size(), 1u);
    EXPECT_EQ(capture.lines()[0].text.size(), 306u) << "long lines are not cut";
  }
  HalCallbacksItf::getInstance().log(3, "after");
  HalCallbacksItf::getInstance().setSink(std::move(previous));
  EXPECT_EQ(outer, (std::vector<std::string>{"after"}));
}

TEST(QarmwFault, WritesAReadableRecord) {
  testing::internal::CaptureStderr();
  qarmw_gen_fault(1, "CounterType", "hal_filters_bcm", 2147, "Unsupported counter type: 9");
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "FAULT severity=1 function=CounterType location=hal_filters_bcm:2147\n"
            "  Unsupported counter type: 9\n");
}

}  // namespace
