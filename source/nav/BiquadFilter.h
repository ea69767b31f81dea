#pragma once

namespace Kvex::Nav {

/// One second-order low-pass stage. It finds its sample rate from the time stamps: it starts itself on the third sample
/// of even spacing (within 1 %), as if the input had always been the oldest of the three, and does not look at the
/// spacing any more once it runs.
class BiquadFilter {
 public:
  /// Sets the cut-off `frequency` (Hz) and the `damping` ratio and designs the filter from the samples that it
  /// holds. Nothing happens unless both are above 0 and either is new.
  void configure(double frequency, double damping);

  /// Takes the sample `x` at the time `t` (seconds).
  void step(double t, double x);

  /// Whether `output` is valid.
  bool ready() const { return ready_; }
  double output() const { return y_[0]; }

 private:
  void design();
  double response() const;

  double cutOff_ = -1.0;
  double damping_ = -1.0;
  double b0_ = 0.0, b1_ = 0.0, b2_ = 0.0;  ///< Feed-forward coefficients.
  double a1_ = 0.0, a2_ = 0.0;             ///< Feedback coefficients; that of the output itself is 1.
  double t_[3] = {-1.0, -1.0, -1.0};       ///< Times, inputs and outputs of the last three samples, newest first.
  double x_[3] = {};
  double y_[3] = {};
  bool ready_ = false;
};

}  // namespace Kvex::Nav
