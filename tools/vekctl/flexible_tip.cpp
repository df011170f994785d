#include "tools/vekctl/flexible_tip.h"

#include <cmath>
#include <numbers>

namespace {

// Steps below it are the rounding of a standing axis.
constexpr double kStands = 1e-12;

// The tip at x beside the axis at u obeys x'' + 2 z w x' + w^2 x = 2 z w u' + w^2 u, or, for the
// deviation d = x - u, d'' + 2 z w d' + w^2 d = -u''. While the axis keeps its speed, u'' is 0 and
// d swings freely; where the speed changes by s, d' jumps by -s.
class Tip {
 public:
  Tip(double period_s, const Vibration& vibration)
      : swing_(2 * std::numbers::pi * vibration.frequency_hz),
        decay_(swing_ * vibration.damping / std::sqrt(1 - vibration.damping * vibration.damping)),
        shrink_(std::exp(-decay_ * period_s)),
        cos_(std::cos(swing_ * period_s)),
        sin_(std::sin(swing_ * period_s)) {}

  void OnSpeedChange(double change) { speed_ -= change; }
  // One period of free swinging: a turn in the plane of deviation and Quadrature().
  void OnStep() {
    const double d = shrink_ * (deviation_ * cos_ + Quadrature() * sin_);
    const double q = shrink_ * (Quadrature() * cos_ - deviation_ * sin_);
    deviation_ = d;
    speed_ = q * swing_ - decay_ * d;
  }
  double deviation() const { return deviation_; }
  // Of the vibration as it swings on from now.
  double Amplitude() const { return std::hypot(deviation_, Quadrature()); }

 private:
  double Quadrature() const { return (speed_ + decay_ * deviation_) / swing_; }

  double swing_;  // rad/s
  double decay_;  // 1/s
  double shrink_, cos_, sin_;
  double deviation_ = 0;
  double speed_ = 0;  // of the deviation
};

}  // namespace

TipMotion SimulateTip(const std::vector<double>& axis, double period_s,
                      const Vibration& vibration) {
  TipMotion motion;
  Tip tip(period_s, vibration);
  double speed = 0;
  for (std::size_t k = 0; k < axis.size(); ++k) {
    motion.deviation.push_back(tip.deviation());
    const double step = k + 1 < axis.size() ? axis[k + 1] - axis[k] : 0;
    tip.OnSpeedChange(step / period_s - speed);
    speed = step / period_s;
    if (k > 0 && std::fabs(axis[k] - axis[k - 1]) > kStands) {
      motion.moves = true;
      motion.end = k;
      motion.residual = tip.Amplitude();
    }
    tip.OnStep();
  }
  return motion;
}
