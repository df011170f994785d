#include "vek/input_shaper.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <numbers>

#include "platform/debug_log.h"
#include "platform/motion_maths.h"
#include "platform/shared_access.h"

namespace {

constexpr double kFramesPerSecond = 1000.0;
constexpr auto kFrequency = SHARED_FIELD(CfgConfig, body.ISFrequency);
constexpr auto kThreshold = SHARED_FIELD(CfgConfig, body.ISThreshold);
constexpr auto kDamp = SHARED_FIELD(CfgConfig, body.ISDamp);

// Truncated towards zero into 32 bits; what is no number gives 0.
std::int32_t Truncate(double x) {
  using Int = std::numeric_limits<std::int32_t>;
  if (std::isnan(x)) return 0;
  return static_cast<std::int32_t>(std::clamp<double>(x, Int::min(), Int::max()));
}

unsigned char* Bytes(PvtFrame& packed) {
  return reinterpret_cast<unsigned char*>(&packed);
}

Axes Positions(const PvtFrame& packed) {
  Axes positions;
  std::memcpy(positions.data(), packed.pos, sizeof positions);
  return positions;
}

}  // namespace

void InputShaper::OnArm(const CfgConfig* cfg, CACB& ring) {
  const double frequency = shared::load(cfg, kFrequency);
  if (frequency == 0.0) return;
  ring.Empty();
  vib_num_[0] = Truncate(kFramesPerSecond / frequency);
  vib_num_[1] = vib_num_[0] / 2;
  const double damp = shared::load(cfg, kDamp);
  const double molecule = -damp * std::numbers::pi;
  const double denominator = ZQ_Sqrt(1 - damp * damp);
  const double vk = std::exp(molecule / denominator);
  const double r = shared::load(cfg, kThreshold);
  a_[0] = (r + 1) / (2 * (vk + 1));
  a_[1] = (1 - r) * 0.5;
  a_[2] = vk * (r + 1) / (2 * (vk + 1));
}

void InputShaper::OnShape(const CfgConfig* cfg, CACB& ring, const char* name, Frame& frame) {
  if (shared::load(cfg, kFrequency) == 0.0) return;
  PvtFrame packed = PackFrame(frame);
  if (!ring.WriteBuf(Bytes(packed), sizeof packed)) {
    g_log_clt.INFO_LOG("%s: OnProcessPosCtrl: EI write acb faile", name);
  }
  if (ring.OnGetStoreNum() < vib_num_[0]) return;
  // A failed read or peek leaves the frame of the time before in force.
  if (ring.ReadBuf(Bytes(pvt_frame_332_), sizeof(PvtFrame)) != sizeof(PvtFrame)) {
    g_log_clt.INFO_LOG("%s: OnProcessPosCtrl: EI read acb_T faile", name);
  }
  if (ring.PeekBuf(Bytes(pvt_frame_166_), sizeof(PvtFrame), vib_num_[1]) != sizeof(PvtFrame)) {
    g_log_clt.INFO_LOG("%s: OnProcessPosCtrl: EI peek acb_T/2 faile", name);
  }
  Blend(frame);
}

void InputShaper::Blend(Frame& frame) const {
  const Axes half = Positions(pvt_frame_166_);
  const Axes full = Positions(pvt_frame_332_);
  for (std::size_t j = 0; j < AREA_AXES; ++j) {
    const double blended = a_[0] * frame.pos[j] + a_[1] * half[j] + a_[2] * full[j];
    frame.pos[j] = std::isfinite(blended) ? blended : frame.pos[j];
  }
}
