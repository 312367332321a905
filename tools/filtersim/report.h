// What filtersim shows of a run: as text for people, as one JSON document for tools.
#pragma once

#include <memory>
#include <ostream>
#include <set>
#include <string>

#include <nlohmann/json.hpp>

#include "runner.h"
#include "yaml_reader.h"

namespace filtersim {

// The hardware sections to show.
struct Sections {
  bool groups = true;
  bool entries = true;
  bool counters = true;
  bool policers = true;
  bool l3 = true;
  bool calls = false;  // the whole SDK call log
};

// Reads "groups,entries,counters,policers,l3,calls" (or "all", or "none"); false for an unknown
// name.
bool parseSections(const std::string& list, Sections& sections);

// Reports that write each step as it comes, so that a long run keeps no step.
std::unique_ptr<RunSink> textReport(std::ostream& out, const std::string& file,
                                    const Sections& sections, bool trace);
std::unique_ptr<RunSink> jsonReport(std::ostream& out, const std::string& file,
                                    const Sections& sections, bool trace);
// A refused call and its rule: {function, code, rule, words, decided_in, chip_rule}.
nlohmann::json ruleJson(const Reason& refusal);
// The device a run answers as: {chip, family, relaxations}.
nlohmann::json deviceJson();

// The one JSON document of a run that cannot start: {"error": {kind, message, file, line,
// column}}, the place when the error has one.
void writeJsonError(std::ostream& out, const std::string& kind, const std::string& message,
                    const LoadError* where);

}  // namespace filtersim
