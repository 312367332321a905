// Planned failures: make an SDK function return a chosen code instead of doing its work.
#pragma once

#include <optional>
#include <string>

namespace bcmsim {

// A fault's function that matches every SDK call that returns a code.
inline constexpr const char* kAnyCall = "*";

struct Fault {
  std::string function;      // e.g. "bcm_field_entry_install", or kAnyCall
  int rc = -1;               // the code returned instead
  int nth = 1;               // fail the nth matching call from now (1 is the next one)
  std::optional<int> entry;  // only calls on this field entry count
  bool always = false;       // fail the nth and every later matching call
};

// A failed call changes nothing on the device; it is recorded in the call log with its code.
void inject_fault(const Fault& fault);
void clear_faults();
// How many planned faults have not fired yet (faults marked always never retire).
int pending_faults();

}  // namespace bcmsim
