// The rules of simulated time: whose turn it is, and how the others wait.
//
// In each tick the parties that are due have a turn in their order; the holder of the turn hands it
// on when it sleeps. When nobody is due any more, time goes on to the next tick in which somebody
// is. While one of the two processes is missing nobody has the turn, and time stands still.
#pragma once

#include "platform/standalone/lockstep_file.h"

namespace lockstep {

class Turns {
 public:
  explicit Turns(File& file);

  RTIME now() const { return state_.now.load(std::memory_order_relaxed); }

  // Lets a party take part, due at `wake`; false when it does already.
  bool Enter(Party party, RTIME wake);
  // Prepares the calling thread, a party's. Where there are few processors the parties share one:
  // to wake a thread on another processor takes longer than a turn.
  void SettleThread() const;
  // Ends its part, with or without the turn.
  void Leave(Party party);

  // Hands the turn on, if the party has it, until `wake`, and waits for the next one; false when
  // `give_up()` says so before. A party that gave up may be handed the turn all the same: the time
  // then stands still until its next call.
  template <class GiveUp>
  bool Sleep(Party party, RTIME wake, GiveUp&& give_up) {
    HandOver(party, wake);
    return Await(party, give_up);
  }

  // Waits for the first turn of a party that takes part.
  template <class GiveUp>
  bool Await(Party party, GiveUp&& give_up) {
    if (Spin(party)) return true;
    while (!give_up()) {
      if (Doze(party)) return true;
    }
    return false;
  }

  // Keeps the controller's parties from being due until `time`.
  void HoldController(RTIME time) { state_.hold = time; }

 private:
  Seat& seat(std::uint32_t party) { return state_.seat[party]; }
  bool Has(Party party) const { return state_.holder == party; }
  RTIME DueTime(std::uint32_t party) const;
  bool BothSidesTakePart() const;
  std::uint32_t FirstDueAfter(std::uint32_t party) const;
  std::uint32_t Choose(std::uint32_t after);
  bool Grant(std::uint32_t party);
  void HandOver(Party party, RTIME wake);
  void Resume();
  void ForgetTheDead();
  bool Spin(Party party) const;
  bool Doze(Party party);

  File& file_;
  State& state_;
  bool spins_;  // a waiting party spins before it dozes
};

}  // namespace lockstep
