// The group types of the library's device profile as a scenario writer reads them: for every type
// and stage, the matches its qualifier set takes.
#pragma once

#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include <filters_common/types.h>

namespace filtersim {

// The scenario's match names a group of `type` at `stage` takes; nullopt when the type has no
// description for the stage.
std::optional<std::vector<std::string>> matchesOfGroupType(unsigned int type,
                                                           FiltersCommon::filtersGroupStage_t stage);

// What a group of `type` at `stage` becomes when the type has no description for the stage;
// empty when it has one (or is not a catalogue type).
std::string undescribedStageWarning(unsigned int type, FiltersCommon::filtersGroupStage_t stage);

// The group types that take `match`, per stage: "pre-ingress 1, 5; ingress 1, 2"; "none".
std::string groupTypesTaking(const std::string& match);

// Whether a group of `type` at `stage` takes two TCAM rows per entry; false for a type without a
// description for the stage.
bool groupTypeIsDoubleWide(unsigned int type, FiltersCommon::filtersGroupStage_t stage);

// Every match name a scenario can write (the catalogue's and the raw match).
std::vector<std::string> matchNames();

// The whole catalogue as a Markdown table, as docs/scenario.md shows it.
void writeCatalogue(std::ostream& out);

}  // namespace filtersim
