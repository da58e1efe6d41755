#pragma once
// Events in due order: (virtual time, sequence number). The heap holds small keys; the
// events themselves (each with its function) wait in slots, so reordering the heap never
// moves them. The world's queue and each process's own queue are of this kind: a large
// LAN keeps tens of thousands of events pending, and a process's timers tick together.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <utility>
#include <vector>

namespace launchagent::sim {

template <class Event>
class EventQueue {
 public:
  void Push(std::int64_t t, std::uint64_t seq, Event event) {
    std::uint32_t slot;
    if (free_.empty()) {
      slot = static_cast<std::uint32_t>(slots_.size());
      if (slot > kSlotMask) {
        std::fputs("sim: more events pending at once than the queue can order\n", stderr);
        std::abort();
      }
      slots_.push_back(std::move(event));
    } else {
      slot = free_.back();
      free_.pop_back();
      slots_[slot] = std::move(event);
    }
    // The sequence number keeps the order among events due at one time; it only grows,
    // so its low bits may make room for the slot without changing that order.
    heap_.push_back({t, (seq << kSlotBits) | slot});
    SiftUp(heap_.size() - 1);
  }
  bool Empty() const { return heap_.empty(); }
  std::int64_t NextTime() const { return heap_.front().t; }
  // The earliest event; the queue must not be empty.
  Event Pop() {
    const auto slot = static_cast<std::uint32_t>(heap_.front().seqSlot & kSlotMask);
    heap_.front() = heap_.back();
    heap_.pop_back();
    if (!heap_.empty()) SiftDown(0);
    Event event = std::move(slots_[slot]);
    slots_[slot] = Event{};  // lets go of what the event held
    free_.push_back(slot);
    return event;
  }
  void Clear() {
    heap_.clear();
    slots_.clear();
    free_.clear();
  }

 private:
  static constexpr unsigned kSlotBits = 24;
  static constexpr std::uint64_t kSlotMask = (std::uint64_t{1} << kSlotBits) - 1;
  // Sixteen bytes a key and four children a node: a node's children share one cache
  // line, and the heap of a large LAN is half as deep as a binary one.
  struct Key {
    std::int64_t t;
    std::uint64_t seqSlot;
  };
  static constexpr std::size_t kArity = 4;
  static bool Earlier(const Key& a, const Key& b) {
    return a.t != b.t ? a.t < b.t : a.seqSlot < b.seqSlot;
  }
  void SiftUp(std::size_t i) {
    const Key k = heap_[i];
    while (i > 0) {
      const std::size_t parent = (i - 1) / kArity;
      if (!Earlier(k, heap_[parent])) break;
      heap_[i] = heap_[parent];
      i = parent;
    }
    heap_[i] = k;
  }
  void SiftDown(std::size_t i) {
    const Key k = heap_[i];
    const std::size_t n = heap_.size();
    for (;;) {
      const std::size_t first = i * kArity + 1;
      if (first >= n) break;
      std::size_t best = first;
      const std::size_t last = std::min(first + kArity, n);
      for (std::size_t c = first + 1; c < last; ++c)
        if (Earlier(heap_[c], heap_[best])) best = c;
      if (!Earlier(heap_[best], k)) break;
      heap_[i] = heap_[best];
      i = best;
    }
    heap_[i] = k;
  }

  std::vector<Key> heap_;
  std::vector<Event> slots_;
  std::vector<std::uint32_t> free_;
};

}  // namespace launchagent::sim
