#include "platform/gyro.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "tests/support/child_process.h"
#include "tests/support/temp_root.h"

namespace {

using Bytes = std::string;
using Values = std::vector<double>;

Bytes Record(int id, const Bytes& data) {
  return Bytes{static_cast<char>(id), static_cast<char>(data.size())} + data;
}

Bytes Vector(int id, std::initializer_list<int> values) {
  Bytes data;
  for (const int value : values) {
    for (int shift = 0; shift < 32; shift += 8) data += static_cast<char>(value >> shift);
  }
  return Record(id, data);
}

Bytes Frame(const Bytes& payload) {
  Bytes body{1, 2, static_cast<char>(payload.size())};
  body += payload;
  int ck1 = 0, ck2 = 0;
  for (const char c : body) ck2 += ck1 += static_cast<unsigned char>(c);
  return "\x59\x53" + body + Bytes{static_cast<char>(ck1), static_cast<char>(ck2)};
}

const Bytes kAcc = Vector(0x10, {1500000, -9806650, 1});
const Bytes kRate = Vector(0x20, {-2147483647 - 1, 2147483647, 250000});
const Values kBoth = {1.5, -9.80665, 1e-6, -2147.483648, 2147.483647, 0.25};
const Bytes kGood = Frame(kAcc + kRate);

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

// A good frame with the bits of `mask` flipped in byte `at`.
Bytes Broken(std::size_t at, int mask) {
  Bytes frame = kGood;
  frame[at] = static_cast<char>(frame[at] ^ mask);
  return frame;
}

TEST(GyroDecoder, FindsEveryGoodFrame) {
  const std::size_t ck1 = kGood.size() - 2, ck2 = kGood.size() - 1;
  const Values none(6, 0), acc = {1.5, -9.80665, 1e-6, 0, 0, 0};
  const Values both_in_turn = {1.5, -9.80665, 1e-6, 1e-6, 2e-6, 3e-6};
  const Bytes temperature = Record(0x01, "\x10\x20"), angles = Vector(0x40, {1, 2, 3});
  const Bytes other = temperature + Record(0x77, "") + Record(0x10, "short") + angles;
  const struct {
    const char* name;
    Bytes stream;
    int frames;
    Values values;
  } cases[] = {
      {"good", kGood + kGood + kGood, 3, kBoth},
      {"noise before", "\x01\x59\x02\x53\x59" + Bytes(300, '\x53') + kGood, 1, kBoth},
      {"sync byte twice", "\x59" + kGood + "\x59\x59" + kGood, 2, kBoth},
      {"bad checksums", Broken(9, 1) + Broken(ck1, 128) + Broken(ck2, 1), 0, none},
      {"bad, then good", Broken(9, 1) + kGood + Broken(ck1, 1) + kGood, 2, kBoth},
      {"too long, then good", Broken(4, 255) + kGood, 1, kBoth},
      {"too short, then good", Broken(4, 24) + kGood, 1, kBoth},
      {"half, then good", kGood.substr(0, 5) + kGood.substr(0, 20) + kGood, 1, kBoth},
      {"acceleration alone", Frame(kAcc), 1, acc},
      {"rate later", Frame(kAcc) + Frame(Vector(0x20, {1, 2, 3})), 2, both_in_turn},
      {"neither", Frame(other), 0, none},
      {"others before", Frame(other + kAcc + kRate), 1, kBoth},
      {"sync within", Frame(Record(0x51, "\x59\x53\x59\x59") + kAcc + kRate), 1, kBoth},
      {"longest", Frame(Record(0x66, Bytes(225, '\x10')) + kAcc + kRate), 1, kBoth},
      {"truncated record", Frame(kAcc.substr(0, 13)), 0, none},
      {"truncated after a whole one", Frame(kAcc + kRate.substr(0, 13)), 1, acc},
      {"record without length", Frame(kAcc + kRate + "\x10"), 1, kBoth},
      {"empty", Frame("") + kGood, 1, kBoth},
  };
  for (const auto& c : cases) {
    CYIS100DK decoder;
    EXPECT_EQ(Feed(decoder, c.stream), c.frames) << c.name;
    for (std::size_t k = 0; k < 6; ++k)
      EXPECT_DOUBLE_EQ(decoder.values[k], c.values[k]) << c.name << k;
  }
}

TEST(GyroDecoder, LosesNoGoodFrameAmongRandomBytesAndPayloads) {
  std::mt19937 random(100);
  const Bytes likely = "\x59\x53\x10\x20\x0c";
  CYIS100DK decoder;
  for (int k = 0; k < 3000; ++k) {
    Bytes noise(random() % 256, 0);
    for (char& c : noise) {
      c = random() % 2 ? likely[random() % likely.size()] : static_cast<char>(random());
    }
    Feed(decoder, k % 2 ? noise + noise : Frame(noise));
    ASSERT_EQ(Feed(decoder, kGood), 1) << k;
    ASSERT_TRUE(std::equal(kBoth.begin(), kBoth.end(), decoder.values));
  }
}

// Reads until `size` bytes have come.
Bytes Take(SerialPort& port, std::size_t size) {
  Bytes all;
  WaitUntil([&] {
    char buffer[7];
    const int got = port.Read(buffer, sizeof buffer);
    if (got > 0) all.append(buffer, static_cast<std::size_t>(got));
    return all.size() >= size;
  });
  return all;
}

TEST(SerialPort, ReadsATerminalRawUntilItVanishes) {
  TempRoot root;
  root.MakeAreas();
  const int master = posix_openpt(O_RDWR | O_NOCTTY);
  ASSERT_TRUE(master >= 0 && grantpt(master) == 0 && unlockpt(master) == 0);
  std::filesystem::create_symlink(ptsname(master), root.Path("/dev/ttyUSB0"));
  SerialPort port;
  for (const auto& [baud, data, stop, parity] : {std::tuple{460801, 8, 1, 'n'},
                                                 {460800, 9, 1, 'n'},
                                                 {460800, 8, 0, 'n'},
                                                 {460800, 8, 1, 'x'}}) {
    EXPECT_FALSE(port.Connect("/dev/ttyUSB0", baud, data, stop, parity));
  }
  ASSERT_TRUE(port.Connect("/dev/ttyUSB0", 460800, 8, 1, 'n'));
  termios line{};
  ASSERT_EQ(tcgetattr(master, &line), 0);
  EXPECT_EQ(cfgetospeed(&line), speed_t{B460800});
  EXPECT_EQ(line.c_cflag & (CSIZE | CSTOPB | PARENB), tcflag_t{CS8});

  char byte = 'x';
  EXPECT_LE(port.Read(&byte, 1), 0);
  Bytes all;  // every byte value, those that a cooked line swallows or changes included
  for (int k = 0; k < 256; ++k) all += static_cast<char>(k);
  ASSERT_EQ(write(master, all.data(), all.size()), 256);
  EXPECT_EQ(Take(port, 256), all);
  EXPECT_LE(port.Read(&byte, 0), 0);
  close(master);
  for (int k = 0; k < 3; ++k) EXPECT_LE(port.Read(&byte, 1), 0);
  EXPECT_FALSE(port.Connect("/dev/ttyUSB0", 460800, 8, 1, 'n'));
  EXPECT_LE(port.Read(&byte, 1), 0);
}

TEST(SerialPort, TakesAFifoOrAFileForALine) {
  TempRoot root;
  root.MakeAreas();
  root.Write("/dev/ttyUSB0", "from a file");
  ASSERT_EQ(mkfifo(root.Path("/dev/ttyUSB1").c_str(), 0600), 0);
  SerialPort port;
  char byte = 0;
  EXPECT_LE(port.Read(&byte, 1), 0);
  for (const char* path : {"/dev/ttyUSB2", "/dev"}) {
    EXPECT_FALSE(port.Connect(path, 460800, 8, 1, 'n'));
  }
  ASSERT_TRUE(port.Connect("/dev/ttyUSB0", 460800, 8, 1, 'n'));
  EXPECT_EQ(Take(port, 11), "from a file");
  EXPECT_LE(port.Read(&byte, 1), 0);
  ASSERT_TRUE(port.Connect("/dev/ttyUSB1", 460800, 8, 1, 'n'));
  for (const Bytes text : {"one writer", "and, after it has gone, another"}) {
    EXPECT_LE(port.Read(&byte, 1), 0);
    root.Write("/dev/ttyUSB1", text);
    EXPECT_EQ(Take(port, text.size()), text);
  }
}

}  // namespace
