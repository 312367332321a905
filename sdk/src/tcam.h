// A group's TCAM: installed entries sit in slots in priority order (slot 0 first). An install
// between two occupied slots shifts entries to the nearest free slot, as a chip does.
#pragma once

#include <bcmsim/state.h>

namespace bcmsim::detail {

// Places an entry that is not in the TCAM yet after every entry of higher or equal priority;
// returns the number of entries moved to make room. The group must have a free slot.
uint64_t tcam_insert(Group& group, int entry_id, int priority);
void tcam_remove(Group& group, int entry_id);

// A slice joins the group, its free slots after the group's last slot, or leaves it: the slots
// given back are free ones taken from the end, the entries keep their order.
void tcam_add_slice(Group& group, int index, int size);
// The slice of the group with that index among its stage's slices; the group holds it.
Group::Slice& tcam_slice(Group& group, int index);
void tcam_drop_slice(Group& group, int index);

}  // namespace bcmsim::detail
