#include "platform/gyro.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <tuple>
#include <vector>

#include "tests/support/gyro_frames.h"

namespace {

using Values = std::vector<double>;

const Bytes kAcc = GyroVector(0x10, {1500000, -9806650, 1});
const Bytes kRate = GyroVector(0x20, {-2147483647 - 1, 2147483647, 250000});
const Values kBoth = {1.5, -9.80665, 1e-6, -2147.483648, 2147.483647, 0.25};
const Bytes kGood = GyroFrame(kAcc + kRate);

// The good frame with another byte at one place.
Bytes Broken(std::size_t at, char byte) {
  return kGood.substr(0, at) + byte + kGood.substr(at + 1);
}

// Number of frames that the decoder reported.
int Feed(CYIS100DK& decoder, const Bytes& bytes) {
  int frames = 0;
  for (const char c : bytes) {
    decoder.OnRecvChar(static_cast<unsigned char>(c));
    frames += decoder.new_frame ? 1 : 0;
    decoder.new_frame = false;
  }
  return frames;
}

TEST(GyroDecoder, FindsEveryGoodFrame) {
  const Values none(6, 0), acc = {1.5, -9.80665, 1e-6, 0, 0, 0};
  const Bytes other("\x01\x02\x10\x20\x77\x00\x10\x05short", 13), longest(225, '\x10');
  const std::tuple<const char*, Bytes, int, Values> cases[] = {
      {"noise before", "\x01\x59\x02\x53\x59" + Bytes(300, '\x53') + kGood, 1, kBoth},
      {"sync byte twice", "\x59" + kGood + "\x59\x59" + kGood, 2, kBoth},
      {"bad checksums", Broken(33, 0) + Broken(34, 0), 0, none},
      {"too long, too short, then good", Broken(4, '\xff') + Broken(4, '\x04') + kGood, 1, kBoth},
      {"half, then good", kGood.substr(0, 20) + kGood + kGood, 2, kBoth},
      {"one vector after the other", GyroFrame(kRate) + GyroFrame(kAcc), 2, kBoth},
      {"others", GyroFrame(other) + GyroFrame(other + kAcc + kRate), 1, kBoth},
      {"longest", GyroFrame("\x66\xe1" + longest + kAcc + kRate), 1, kBoth},
      {"truncated", GyroFrame(kAcc + kRate.substr(0, 13)) + GyroFrame("\x10"), 1, acc},
  };
  for (const auto& [name, stream, frames, values] : cases) {
    CYIS100DK decoder;
    EXPECT_EQ(Feed(decoder, stream), frames) << name;
    EXPECT_EQ(Values(decoder.values, decoder.values + 6), values) << name;
  }
}

TEST(GyroDecoder, LosesNoGoodFrameAmongRandomBytesAndPayloads) {
  std::mt19937 random(100);
  const Bytes likely = "\x59\x53\x10\x20\x0c";
  CYIS100DK decoder;
  for (int k = 0; k < 3000; ++k) {
    Bytes noise(random() % 256, 0);
    for (char& c : noise) c = random() % 2 ? likely[random() % 5] : static_cast<char>(random());
    Feed(decoder, k % 2 ? noise + noise : GyroFrame(noise));
    ASSERT_EQ(Feed(decoder, kGood), 1) << k;
  }
}

}  // namespace
