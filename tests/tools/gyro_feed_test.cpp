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

struct Line {
  // Lets 10 ms pass; true when a frame came through.
  bool Frame() {
    for (int k = 0; k < 10; ++k) feed.OnCycle(now_ns += 1'000'000);
    unsigned char bytes[1000];
    const int count = port.Read(bytes, sizeof bytes);
    for (int k = 0; k < count; ++k) decoder.OnRecvChar(bytes[k]);
    return std::exchange(decoder.new_frame, false);
  }

  GyroFeed feed;
  SerialPort port;
  CYIS100DK decoder;
  std::int64_t now_ns = 0;
};

TEST(GyroFeed, NeverRepeatsItsThirdValueUnlessFrozen) {
  const TempRoot root;
  root.Write("/dev/x", "");
  fs::create_symlink("/dev/pts/99999", root.Path("/dev/ttyUSB0"));  // a killed run's
  {
    Line line;
    ASSERT_TRUE(line.port.Connect("/dev/ttyUSB0", 460800, 8, 1, 'n'));
    const double& z = line.decoder.values[2];
    for (int k = 0; k < 1000; ++k) {
      const double before = z;
      ASSERT_TRUE(line.Frame());
      ASSERT_GT(std::fabs(z - before), 0.0001) << k;
      ASSERT_NEAR(z, 9.81, 0.02);
    }
    line.feed.SetFrozen(true);
    const double frozen = z;
    EXPECT_TRUE(line.Frame() && line.Frame());
    EXPECT_EQ(z, frozen);
    line.feed.SetConnected(false);
    EXPECT_FALSE(line.Frame());
    line.feed.SetConnected(true);
    EXPECT_TRUE(line.Frame());
    for (int k = 0; k < 10000; ++k) line.feed.OnCycle(line.now_ns += 10'000'000);  // nobody reads
  }
  EXPECT_FALSE(fs::exists(fs::symlink_status(root.Path("/dev/ttyUSB0"))));
  root.Write("/dev/ttyUSB0", "mine");
  EXPECT_THROW(GyroFeed(), Failure);
  EXPECT_EQ(root.Read("/dev/ttyUSB0"), "mine");
}

}  // namespace
