// Lookups in the platform's tables, which raise "HAL ID not found" for an id they do not hold.
#pragma once

#include <optional>
#include <stdexcept>

namespace HalFiltersLL {

// The result of `lookup()`, or nullopt when it raised "HAL ID not found"; `log_miss` is then
// given the exception's text to log the miss with what the caller knows.
template <class Lookup, class LogMiss>
auto lookUpHalId(Lookup&& lookup, LogMiss&& log_miss) -> std::optional<decltype(lookup())> {
  try {
    return lookup();
  } catch (const std::out_of_range& miss) {
    log_miss(miss.what());
    return std::nullopt;
  }
}

}  // namespace HalFiltersLL
