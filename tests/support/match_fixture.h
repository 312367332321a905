// Match translation onto a fresh hardware entry in a group of the match's stage, and the table
// row that says what one translation writes and logs.
#pragma once

#include <initializer_list>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include <hal_filters_ll/match_translation.h>

#include "support/filters_fixture.h"
#include "support/sdk_builders.h"

namespace test_support {

class MatchFixture : public FiltersTest {
 protected:
  // Groups 0, 16 and 32 at pre-ingress, ingress and egress, each with `qualifiers`.
  void createStageGroups(std::initializer_list<int> qualifiers) {
    ASSERT_EQ(create_group(0, bcmFieldQualifyStageLookup, qualifiers), 0);
    ASSERT_EQ(create_group(16, bcmFieldQualifyStageIngress, qualifiers), 0);
    ASSERT_EQ(create_group(32, bcmFieldQualifyStageEgress, qualifiers), 0);
  }

  // Creates hardware entry `eid` in the stage's group and translates one match onto it.
  int translate(FiltersCommon::filtersGroupStage_t stage, const FiltersCommon::Match& match,
                int eid) {
    const int group = stage == FiltersCommon::FILTERS_GROUP_STAGE_PRE_INGRESS ? 0
                      : stage == FiltersCommon::FILTERS_GROUP_STAGE_EGRESS    ? 32
                                                                              : 16;
    EXPECT_EQ(bcm_field_entry_create_id(0, group, eid), 0);
    log.clear();
    return filters->createBcmMatch({}, stage, &match, eid);
  }
};

struct MatchRow {
  const char* name;
  FiltersCommon::filtersGroupStage_t stage;
  std::shared_ptr<const FiltersCommon::Match> match;
  int result;
  std::vector<std::string> qualifiers;  // as the device's view writes them
  std::vector<std::string> lines;       // the log lines
};

inline void PrintTo(const MatchRow& row, std::ostream* out) {
  *out << row.name;
}

}  // namespace test_support
