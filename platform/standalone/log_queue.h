// A bounded queue for several producers and one consumer. Producers never wait: a full queue
// refuses.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <type_traits>

namespace logging {

// `Ticket` numbers the items and may wrap around; the capacity is a power of two below its range.
template <class Item, std::size_t kCapacity, class Ticket = std::uint32_t>
class BoundedQueue {
  static_assert((kCapacity & (kCapacity - 1)) == 0);
  static_assert(kCapacity < std::numeric_limits<Ticket>::max() / 2);
  static_assert(std::atomic<Ticket>::is_always_lock_free);

 public:
  static constexpr std::size_t capacity() { return kCapacity; }

  // Lets `fill(Item&)` write the next item in place; false when the queue is full. Any thread,
  // real-time safe: gives up (as if full) when others keep getting in between.
  template <class Fill>
  bool Push(Fill&& fill) {
    // Relaxed: the ticket only names a cell; the cell's turn orders its content.
    Ticket ticket = next_.load(std::memory_order_relaxed);
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
      Cell& cell = CellOf(ticket);
      // Acquire: pairs with the consumer's release, so that its reading of the old item is over.
      const Ticket turn = cell.turn.load(std::memory_order_acquire);
      const auto ahead = static_cast<Distance>(turn - LapOf(ticket));
      if (ahead < 0) return false;
      if (ahead > 0) {
        ticket = next_.load(std::memory_order_relaxed);
      } else if (next_.compare_exchange_weak(ticket, static_cast<Ticket>(ticket + 1),
                                             std::memory_order_relaxed)) {
        fill(cell.item);
        // Release: without it the consumer sees a half-written item.
        cell.turn.store(static_cast<Ticket>(LapOf(ticket) + 1), std::memory_order_release);
        return true;
      }
    }
    return false;
  }

  // Lets `take(const Item&)` read the oldest item; false when there is none, or when its producer
  // has not finished it yet. One thread at a time.
  template <class Take>
  bool Pop(Take&& take) {
    Cell& cell = CellOf(oldest_);
    // Acquire: pairs with the producer's release of the finished item.
    if (cell.turn.load(std::memory_order_acquire) != static_cast<Ticket>(LapOf(oldest_) + 1)) {
      return false;
    }
    take(static_cast<const Item&>(cell.item));
    // Release: hands the cell to the producer of the next lap.
    cell.turn.store(static_cast<Ticket>(LapOf(oldest_) + kCapacity), std::memory_order_release);
    ++oldest_;
    return true;
  }

  // Writes to every cell without changing it, so that no producer meets a page that is not there.
  void TouchAll() {
    for (Cell& cell : cells_) {
      Ticket turn = cell.turn.load(std::memory_order_relaxed);
      cell.turn.compare_exchange_strong(turn, turn, std::memory_order_relaxed);
    }
  }

  // Whether every item that a producer has begun was taken. The consumer's thread.
  bool IsEmpty() const { return next_.load(std::memory_order_relaxed) == oldest_; }

 private:
  using Distance = std::make_signed_t<Ticket>;
  // A producer loses a try only to another one's success; so many in a row do not happen.
  static constexpr int kAttempts = 64;

  // `turn` is the lap's first ticket while the cell is free for that lap, one more while it holds
  // an item. All zero is an empty queue, which so needs no initialisation.
  struct Cell {
    std::atomic<Ticket> turn{0};
    Item item{};
  };

  static Ticket LapOf(Ticket ticket) {
    return static_cast<Ticket>(ticket & ~static_cast<Ticket>(kCapacity - 1));
  }
  Cell& CellOf(Ticket ticket) { return cells_[ticket & (kCapacity - 1)]; }

  alignas(64) std::atomic<Ticket> next_{0};
  alignas(64) Ticket oldest_ = 0;
  std::array<Cell, kCapacity> cells_{};
};

}  // namespace logging
