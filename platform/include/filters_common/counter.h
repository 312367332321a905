// A counter of a filter entry: an id unique across the system and what it counts.
#pragma once

#include <filters_common/types.h>

namespace FiltersCommon {

class Counter {
 public:
  Counter() = default;
  Counter(unsigned short id, counter_type_t type) : id_(id), type_(type) {}
  unsigned short getId() const { return id_; }
  counter_type_t getType() const { return type_; }

 private:
  unsigned short id_ = 0;
  counter_type_t type_ = COUNTER_TYPE_PACKETS;
};

}  // namespace FiltersCommon
