// The shape that every qualifier setter shares.
#pragma once

#include <hal_filters_ll/match_translation.h>

#include "sdk_support.h"

namespace HalFiltersLL {

// The match as its class, or null after logging that class's casting error.
template <class M>
const M* matchAs(const FiltersCommon::Match* match, const char* cast_error) {
  const M* typed = dynamic_cast<const M*>(match);
  if (!typed) callbacks().log(kLogError, "%s", cast_error);
  return typed;
}

// Downcasts the match, writes what it implies (`implies(eid)`: 0, or a failure that ends the
// setter with -2), then makes its one qualifier call `qualify(unit, eid, match)` and translates
// the SDK's result.
template <class M, class Implies, class Qualify>
int applyMatch(const FiltersCommon::Match* match, int eid, const char* cast_error, Implies implies,
               Qualify qualify) {
  const M* typed = matchAs<M>(match, cast_error);
  if (!typed) return HAL_FILTERS_ERR_FAILED;
  if (implies(eid) != 0) return HAL_FILTERS_ERR_FAILED;
  return qualifierResultToHalErr(qualify(bcmUnit(), eid, *typed), eid);
}

inline int impliesNothing(int) {
  return 0;
}

// Looks a model value up in a conversion table; null after logging `invalid_text` on a miss.
template <class Key, class Value>
const Value* convert(const std::map<Key, Value>& table, Key key, const char* invalid_text) {
  auto it = table.find(key);
  if (it != table.end()) return &it->second;
  callbacks().log(kLogError, "%s", invalid_text);
  return nullptr;
}

}  // namespace HalFiltersLL
