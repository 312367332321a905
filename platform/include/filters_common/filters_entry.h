// A filter entry: matches, actions, counters and policers under an id and a priority.
// Copies are cheap: they share the (immutable) matches, actions and policers, and a change to
// one copy never shows in another.
#pragma once

#include <map>
#include <memory>

#include <filters_common/action.h>
#include <filters_common/counter.h>
#include <filters_common/match.h>
#include <policer/policer.h>

namespace FiltersCommon {

class FiltersEntry {
 public:
  using MatchMap = std::map<filtersMatch_t, std::shared_ptr<const Match>>;
  using ActionMap = std::map<filtersAction_t, std::shared_ptr<const Action>>;
  using CounterMap = std::map<unsigned short, Counter>;

  FiltersEntry();
  FiltersEntry(unsigned int id, unsigned short priority);

  unsigned int getId() const { return id_; }
  void setId(unsigned int id) { id_ = id; }
  unsigned short getPriority() const { return priority_; }

  // Insert, or replace the match or action of the same type.
  void setMatch(const Match& match) { setMatch(match.clone()); }
  void setMatch(std::shared_ptr<const Match> match);
  void setAction(const Action& action) { setAction(action.clone()); }
  void setAction(std::shared_ptr<const Action> action);

  // Fills `out` and returns 0 when the entry holds a match of out's type and class.
  template <class M>
  int getMatch(M& out) const {
    const M* match = findMatch<M>(out.getType());
    if (!match) return -1;
    out = *match;
    return 0;
  }
  // The entry's match of that type and class, without a copy; null when it holds none.
  template <class M>
  const M* findMatch(filtersMatch_t type) const {
    auto it = matches_->find(type);
    return it == matches_->end() ? nullptr : dynamic_cast<const M*>(it->second.get());
  }

  const MatchMap& getMatches() const { return *matches_; }   // by type
  const ActionMap& getActions() const { return *actions_; }  // by type

  void addCounter(const Counter& counter);
  const CounterMap& getCounters() const { return *counters_; }  // by counter id

  void setPolicer(const policer::Policer& policer);
  const policer::Policer& getPolicer() const;  // id 0xFFFFFFFF when the entry has none
  void setPolicerParent(std::shared_ptr<const policer::Policer> parent);
  std::shared_ptr<const policer::Policer> getPolicerParent() const { return policer_parent_; }

 private:
  unsigned int id_ = 0;
  unsigned short priority_ = 0;
  std::shared_ptr<const MatchMap> matches_;
  std::shared_ptr<const ActionMap> actions_;
  std::shared_ptr<const CounterMap> counters_;
  std::shared_ptr<const policer::Policer> policer_;
  std::shared_ptr<const policer::Policer> policer_parent_;
};

}  // namespace FiltersCommon
