// The catalogue of group types that docs/scenario.md shows is the one the library's device
// profile gives.
#include <fstream>
#include <sstream>

#include <gtest/gtest.h>

#include "catalogue.h"

namespace {

TEST(Catalogue, TheScenarioDocShowsTheDeviceProfilesGroupTypes) {
  std::ifstream doc(FILTERSIM_SCENARIO_DOC);
  std::stringstream text;
  text << doc.rdbuf();
  const std::string content = text.str();
  const std::string start = "<!-- catalogue: the output of filtersim --catalogue -->\n";
  const size_t begin = content.find(start);
  const size_t end = content.find("<!-- end of catalogue -->");
  ASSERT_NE(begin, std::string::npos);
  ASSERT_NE(end, std::string::npos);
  std::ostringstream catalogue;
  filtersim::writeCatalogue(catalogue);
  EXPECT_EQ(content.substr(begin + start.size(), end - begin - start.size()), catalogue.str())
      << "run filtersim --catalogue and paste its table into docs/scenario.md";
}

TEST(Catalogue, MatchesFollowTheStageOfTheirQualifier) {
  using namespace FiltersCommon;
  // pcp is the outer VLAN priority at pre-ingress and the internal priority elsewhere.
  const auto pre_ingress = filtersim::matchesOfGroupType(4, FILTERS_GROUP_STAGE_PRE_INGRESS);
  ASSERT_TRUE(pre_ingress);
  EXPECT_NE(std::find(pre_ingress->begin(), pre_ingress->end(), "pcp"), pre_ingress->end());
  EXPECT_FALSE(filtersim::matchesOfGroupType(4, FILTERS_GROUP_STAGE_EGRESS));
  const auto ingress = filtersim::matchesOfGroupType(2, FILTERS_GROUP_STAGE_INGRESS);
  EXPECT_EQ(std::find(ingress->begin(), ingress->end(), "pcp"), ingress->end());
  EXPECT_NE(filtersim::undescribedStageWarning(4, FILTERS_GROUP_STAGE_EGRESS), "");
  EXPECT_EQ(filtersim::undescribedStageWarning(4, FILTERS_GROUP_STAGE_PRE_INGRESS), "");
}

}  // namespace
