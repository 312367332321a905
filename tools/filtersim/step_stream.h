// A scenario whose steps are read one at a time, so that a long scenario costs memory only for
// the step that runs. The whole scenario is still checked before any step runs.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "scenario.h"

namespace filtersim {

class ScenarioLoader;

class ScenarioStream {
 public:
  // Reads the switch and checks every step once; a LoadError names the first problem.
  ScenarioStream(std::string text, std::string name);
  ~ScenarioStream();
  ScenarioStream(ScenarioStream&&) noexcept;
  ScenarioStream& operator=(ScenarioStream&&) noexcept;

  const std::string& file() const { return file_; }
  const SwitchSetup& setup() const { return setup_; }
  size_t size() const;
  // Replays the captures together, merged in timestamp order, after the steps (the command line
  // asks for it); a LoadError for an unknown port or a capture that cannot be read.
  void appendReplay(const std::vector<CaptureOption>& captures);
  // Runs on the named chip, whatever the scenario's switch names; a LoadError without a place
  // for an unknown chip, or for a scenario with a geometry of its own.
  void useChip(const std::string& name);
  // A LoadError at the scenario's own slices or entries, if it has any: a chip's replace them.
  void refuseOwnGeometry(const std::string& purpose) const;
  // Loads the steps again, in order, and hands each to `use`.
  void forEachStep(const std::function<void(const Step&)>& use) const;

 private:
  // A step item's text: where it starts in the scenario text and on which line.
  struct Item {
    size_t offset;
    size_t length;
    int line;
  };

  Step loadItem(const Item& item) const;

  std::string text_;
  std::string file_;
  SwitchSetup setup_;
  std::unique_ptr<ScenarioLoader> loader_;  // knows the switch's interfaces
  std::vector<Item> items_;                 // when the steps are a block list
  std::vector<Step> steps_;                 // otherwise, loaded with the whole document
  std::vector<Step> appended_;              // after either
};

}  // namespace filtersim
