// Frames of the inertial sensor, as it sends them.
#pragma once

#include <array>
#include <string>

using Bytes = std::string;

// A record of three numbers: 0x10 acceleration (1e-6 m/s^2), 0x20 angular rate (1e-6 deg/s).
inline Bytes GyroVector(char id, const std::array<int, 3>& values) {
  return Bytes{id, 12} + Bytes(reinterpret_cast<const char*>(values.data()), 12);
}

// A frame of records, with its checksum.
inline Bytes GyroFrame(const Bytes& payload) {
  const Bytes body = Bytes{1, 2, static_cast<char>(payload.size())} + payload;
  int ck1 = 0, ck2 = 0;
  for (const char c : body) ck2 += ck1 += static_cast<unsigned char>(c);
  return "\x59\x53" + body + Bytes{static_cast<char>(ck1), static_cast<char>(ck2)};
}
