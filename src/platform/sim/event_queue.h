#pragma once
// The world's events in due order: (virtual time, sequence number). The heap holds small
// keys; the events themselves (each with its function) wait in slots, so reordering the
// heap never moves them. A large LAN keeps tens of thousands of events pending.
#include <algorithm>
#include <cstdint>
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
      slots_.push_back(std::move(event));
    } else {
      slot = free_.back();
      free_.pop_back();
      slots_[slot] = std::move(event);
    }
    heap_.push_back({t, seq, slot});
    std::push_heap(heap_.begin(), heap_.end(), Later);
  }
  bool Empty() const { return heap_.empty(); }
  std::int64_t NextTime() const { return heap_.front().t; }
  // The earliest event; the queue must not be empty.
  Event Pop() {
    std::pop_heap(heap_.begin(), heap_.end(), Later);
    const std::uint32_t slot = heap_.back().slot;
    heap_.pop_back();
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
  struct Key {
    std::int64_t t;
    std::uint64_t seq;
    std::uint32_t slot;
  };
  static bool Later(const Key& a, const Key& b) { return a.t != b.t ? a.t > b.t : a.seq > b.seq; }

  std::vector<Key> heap_;
  std::vector<Event> slots_;
  std::vector<std::uint32_t> free_;
};

// The same order for the few events one process has pending at a time: keys and
// events in one array, so a process's next event is a cache line or two away, not three
// arrays' worth.
template <class Event>
class SmallEventQueue {
 public:
  void Push(std::int64_t t, std::uint64_t seq, Event event) {
    items_.push_back(Item{t, seq, std::move(event)});
    std::push_heap(items_.begin(), items_.end(), Later);
  }
  bool Empty() const { return items_.empty(); }
  std::int64_t NextTime() const { return items_.front().t; }
  // The earliest event; the queue must not be empty.
  Event Pop() {
    std::pop_heap(items_.begin(), items_.end(), Later);
    Event event = std::move(items_.back().event);
    items_.pop_back();
    return event;
  }
  void Clear() { items_.clear(); }

 private:
  struct Item {
    std::int64_t t;
    std::uint64_t seq;
    Event event;
  };
  static bool Later(const Item& a, const Item& b) { return a.t != b.t ? a.t > b.t : a.seq > b.seq; }

  std::vector<Item> items_;
};

}  // namespace launchagent::sim
