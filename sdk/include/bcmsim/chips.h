// The named chips bcmsim can answer as. Each is a configuration whose geometry and rule tables
// were read in that chip's own code path of the Broadcom SDK 6.5.22; docs/bcmsim.md cites them.
//
//   bcmsim::reset(*bcmsim::chip_config("bcm56850"));  // a Trident 2
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <bcmsim/device.h>

namespace bcmsim {

// The configuration of a named chip ("bcm56450", "bcm56850", "bcm56960"); nullopt for a name it
// does not know.
std::optional<Config> chip_config(std::string_view name);

// The names chip_config knows, in the order above.
std::vector<std::string> chip_names();

}  // namespace bcmsim
