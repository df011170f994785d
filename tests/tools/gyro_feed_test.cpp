// The simulated gyro as Vek's serial port and decoder see it.
#include "tools/drusim/gyro_feed.h"

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>

#include "platform/gyro.h"
#include "tests/support/temp_root.h"
#include "tools/failure.h"

namespace {

namespace fs = std::filesystem;

TEST(GyroFeed, NeverRepeatsItsThirdValueUnlessFrozen) {
  const TempRoot root;
  root.Write("/dev/x", "");
  const std::string link = root.Path("/dev/ttyUSB0");
  fs::create_symlink("/dev/pts/99999", link);  // a killed run's
  {
    GyroFeed feed;
    SerialPort port;
    CYIS100DK decoder;
    std::int64_t now_ns = 0;
    ASSERT_TRUE(port.Connect("/dev/ttyUSB0", 460800, 8, 1, 'n'));
    const auto frame_in_10_ms = [&] {
      for (int k = 0; k < 10; ++k) feed.OnCycle(now_ns += 1'000'000);
      unsigned char bytes[1000];
      const int count = port.Read(bytes, sizeof bytes);
      for (int k = 0; k < count; ++k) decoder.OnRecvChar(bytes[k]);
      return std::exchange(decoder.new_frame, false);
    };
    for (int k = 0; k < 1000; ++k) {
      const double before = decoder.values[2];
      ASSERT_TRUE(frame_in_10_ms());
      ASSERT_GT(std::fabs(decoder.values[2] - before), 0.0001) << k;
      ASSERT_NEAR(decoder.values[2], 9.81, 0.02);
    }
    feed.SetFrozen(true);
    const double frozen = decoder.values[2];
    EXPECT_TRUE(frame_in_10_ms());
    EXPECT_EQ(decoder.values[2], frozen);
    feed.SetConnected(false);
    EXPECT_FALSE(frame_in_10_ms());
    feed.SetConnected(true);
    for (int k = 0; k < 10000; ++k) feed.OnCycle(now_ns += 10'000'000);  // nobody reads
  }
  EXPECT_FALSE(fs::exists(fs::symlink_status(link)));
  root.Write("/dev/ttyUSB0", "mine");
  EXPECT_THROW(GyroFeed(), Failure);
  EXPECT_EQ(root.Read("/dev/ttyUSB0"), "mine");
}

}  // namespace
