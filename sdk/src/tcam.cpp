#include "tcam.h"

#include <algorithm>

namespace bcmsim::detail {
namespace {

using Slot = Group::Slot;

// Shifts the entries between `free` (a free slot) and `to` one slot towards `free`, leaving `to`
// free. Returns the number of entries moved.
uint64_t shift(std::vector<Slot>& slots, int free, int to) {
  const int step = free < to ? 1 : -1;
  uint64_t moved = 0;
  for (int slot = free; slot != to; slot += step) {
    slots[slot] = slots[slot + step];
    ++moved;
  }
  slots[to] = Slot{};
  return moved;
}

}  // namespace

uint64_t tcam_insert(Group& group, int entry_id, int priority) {
  std::vector<Slot>& slots = group.slots;
  const int size = static_cast<int>(slots.size());
  // The entry goes after the last entry of higher or equal priority and before the first of
  // lower priority.
  int last_before = -1;
  int first_after = size;
  for (int slot = 0; slot < size; ++slot) {
    if (slots[slot].free()) continue;
    if (slots[slot].priority < priority) {
      first_after = slot;
      break;
    }
    last_before = slot;
  }
  for (int slot = last_before + 1; slot < first_after; ++slot) {
    if (slots[slot].free()) {
      slots[slot] = Slot{entry_id, priority};
      return 0;
    }
  }
  // No free slot in between: shift towards the nearest free slot, above or below.
  int below = last_before;
  while (below >= 0 && !slots[below].free()) --below;
  int above = first_after;
  while (above < size && !slots[above].free()) ++above;
  const bool use_above = above < size && (below < 0 || above - first_after <= last_before - below);
  const int target = use_above ? first_after : last_before;
  const uint64_t moved = shift(slots, use_above ? above : below, target);
  slots[target] = Slot{entry_id, priority};
  return moved;
}

void tcam_remove(Group& group, int entry_id) {
  auto slot = std::find_if(group.slots.begin(), group.slots.end(),
                           [entry_id](const Slot& s) { return s.entry == entry_id; });
  if (slot != group.slots.end()) *slot = Slot{};
}

void tcam_add_slice(Group& group, int index, int size) {
  group.slots.resize(group.slots.size() + static_cast<size_t>(size));
  group.slices.push_back({index, size, 0});
}

Group::Slice& tcam_slice(Group& group, int index) {
  return *std::find_if(group.slices.begin(), group.slices.end(),
                       [index](const Group::Slice& s) { return s.index == index; });
}

void tcam_drop_slice(Group& group, int index) {
  Group::Slice& slice = tcam_slice(group, index);
  const int size = slice.size;
  group.slices.erase(group.slices.begin() + (&slice - group.slices.data()));
  std::vector<Slot>& slots = group.slots;
  int dropped = 0;
  for (auto slot = slots.end(); slot != slots.begin() && dropped < size;) {
    --slot;
    if (slot->free()) {
      slot = slots.erase(slot);
      ++dropped;
    }
  }
}

}  // namespace bcmsim::detail
