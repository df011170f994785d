#include "platform/gyro.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include "tests/support/child_process.h"
#include "tests/support/temp_root.h"

namespace {

using Bytes = std::string;
using Values = std::vector<double>;

Bytes Vector(char id, const std::array<int, 3>& values) {
  return Bytes{id, 12} + Bytes(reinterpret_cast<const char*>(values.data()), 12);
}

Bytes Frame(const Bytes& payload) {
  const Bytes body = Bytes{1, 2, static_cast<char>(payload.size())} + payload;
  int ck1 = 0, ck2 = 0;
  for (const char c : body) ck2 += ck1 += static_cast<unsigned char>(c);
  return "\x59\x53" + body + Bytes{static_cast<char>(ck1), static_cast<char>(ck2)};
}

const Bytes kAcc = Vector(0x10, {1500000, -9806650, 1});
const Bytes kRate = Vector(0x20, {-2147483647 - 1, 2147483647, 250000});
const Values kBoth = {1.5, -9.80665, 1e-6, -2147.483648, 2147.483647, 0.25};
const Bytes kGood = Frame(kAcc + kRate);

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
      {"one vector after the other", Frame(kRate) + Frame(kAcc), 2, kBoth},
      {"others", Frame(other) + Frame(other + kAcc + kRate), 1, kBoth},
      {"longest", Frame("\x66\xe1" + longest + kAcc + kRate), 1, kBoth},
      {"truncated", Frame(kAcc + kRate.substr(0, 13)) + Frame("\x10"), 1, acc},
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
    Feed(decoder, k % 2 ? noise + noise : Frame(noise));
    ASSERT_EQ(Feed(decoder, kGood), 1) << k;
  }
}

// Reads until `size` bytes have come, and finds that there are no more.
Bytes Take(SerialPort& port, std::size_t size) {
  Bytes all, part(7, 0);
  WaitUntil([&] {
    const int got = port.Read(part.data(), 7);
    all += part.substr(0, got > 0 ? static_cast<std::size_t>(got) : 0);
    return all.size() >= size;
  });
  EXPECT_LE(port.Read(part.data(), 7), 0);
  return all;
}

TEST(SerialPort, ReadsATerminalRawAndAFifoThroughAllItsWriters) {
  const TempRoot root;
  root.MakeAreas();
  const int master = posix_openpt(O_RDWR | O_NOCTTY);
  ASSERT_TRUE(master >= 0 && grantpt(master) == 0 && unlockpt(master) == 0);
  std::filesystem::create_symlink(ptsname(master), root.Path("/dev/ttyUSB0"));
  SerialPort port;
  EXPECT_EQ(Take(port, 0), "");
  EXPECT_FALSE(port.Connect("/dev/ttyUSB0", 460801, 8, 1, 'n'));
  ASSERT_TRUE(port.Connect("/dev/ttyUSB0", 460800, 8, 1, 'n'));
  termios line{};
  tcgetattr(master, &line);
  EXPECT_EQ(cfgetospeed(&line), speed_t{B460800});
  EXPECT_EQ(line.c_cflag & (CSIZE | CSTOPB | PARENB), tcflag_t{CS8});
  Bytes all;  // every byte value, those that a cooked line swallows or changes included
  for (int k = 0; k < 256; ++k) all += static_cast<char>(k);
  ASSERT_EQ(write(master, all.data(), all.size()), 256);
  EXPECT_EQ(Take(port, 256), all);
  close(master);
  EXPECT_EQ(Take(port, 0), "");
  EXPECT_FALSE(port.Connect("/dev/ttyUSB0", 460800, 8, 1, 'n'));

  ASSERT_EQ(mkfifo(root.Path("/dev/ttyUSB1").c_str(), 0600), 0);
  ASSERT_TRUE(port.Connect("/dev/ttyUSB1", 460800, 8, 1, 'n'));
  for (const Bytes text : {"one writer", "and, after it has gone, another"}) {
    root.Write("/dev/ttyUSB1", text);
    EXPECT_EQ(Take(port, text.size()), text);
  }
}

}  // namespace
