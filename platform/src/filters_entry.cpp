#include <filters_common/filters_entry.h>

namespace FiltersCommon {
namespace {

// One empty container of each kind, shared by every entry that holds nothing of that kind.
template <class Map>
const std::shared_ptr<const Map>& empty() {
  static const std::shared_ptr<const Map> kEmpty = std::make_shared<const Map>();
  return kEmpty;
}

// Copy-on-write: the change goes to a fresh map, so copies of the entry keep theirs.
template <class Map, class Key, class Value>
void set_in(std::shared_ptr<const Map>& map, const Key& key, Value value) {
  auto changed = std::make_shared<Map>(*map);
  (*changed)[key] = std::move(value);
  map = std::move(changed);
}

}  // namespace

FiltersEntry::FiltersEntry()
    : matches_(empty<MatchMap>()), actions_(empty<ActionMap>()), counters_(empty<CounterMap>()) {}

FiltersEntry::FiltersEntry(unsigned int id, unsigned short priority) : FiltersEntry() {
  id_ = id;
  priority_ = priority;
}

void FiltersEntry::setMatch(std::shared_ptr<const Match> match) {
  const filtersMatch_t type = match->getType();
  set_in(matches_, type, std::move(match));
}

void FiltersEntry::setAction(std::shared_ptr<const Action> action) {
  const filtersAction_t type = action->getType();
  set_in(actions_, type, std::move(action));
}

void FiltersEntry::addCounter(const Counter& counter) {
  set_in(counters_, counter.getId(), counter);
}

void FiltersEntry::setPolicer(const policer::Policer& policer) {
  policer_ = std::make_shared<const policer::Policer>(policer);
}

const policer::Policer& FiltersEntry::getPolicer() const {
  static const policer::Policer kNone;
  return policer_ ? *policer_ : kNone;
}

void FiltersEntry::setPolicerParent(std::shared_ptr<const policer::Policer> parent) {
  policer_parent_ = std::move(parent);
}

}  // namespace FiltersCommon
