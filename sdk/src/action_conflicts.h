// Which actions an entry refuses because of an action it already holds.
#pragma once

#include <bcmsim/state.h>

namespace bcmsim::detail {

// True when an entry of `stage` that holds `existing` refuses `added` (the SDK's configuration
// error): the same action twice, or a pair the family's conflict check refuses.
bool actions_conflict(Stage stage, int existing, int added);

}  // namespace bcmsim::detail
