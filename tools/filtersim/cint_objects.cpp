#include "cint_objects.h"

#include <algorithm>

namespace filtersim {
namespace {

using bcmsim::Ref;

struct Kind {
  Ref ref;
  const char* type;     // of its variables
  const char* prefix;   // of its variables' names
  const char* destroy;  // the call that removes one
};

// In the order the teardown removes them: what uses an object goes before it.
const Kind kKinds[] = {
    {Ref::Entry, "bcm_field_entry_t", "entry", "bcm_field_entry_destroy"},
    {Ref::Stat, "int", "stat", "bcm_field_stat_destroy"},
    {Ref::Policer, "bcm_policer_t", "policer", "bcm_policer_destroy"},
    {Ref::Group, "bcm_field_group_t", "group", "bcm_field_group_destroy"},
    {Ref::L3Egress, "bcm_if_t", "egress", "bcm_l3_egress_destroy"},
    {Ref::L3Intf, "bcm_if_t", "intf", "bcm_l3_intf_delete"},
};

const Kind& kindOf(Ref ref) {
  return *std::find_if(std::begin(kKinds), std::end(kKinds),
                       [ref](const Kind& kind) { return kind.ref == ref; });
}

// The statements that remove the object held by `variable`; an interface is deleted by a
// structure naming it.
std::vector<std::string> destroyCall(const Kind& kind, const std::string& variable) {
  if (kind.ref == Ref::L3Intf) {
    return {"bcm_l3_intf_t_init(&intf);", "intf.l3a_intf_id = " + variable + ";",
            "rv = bcm_l3_intf_delete(unit, &intf);"};
  }
  return {"rv = " + std::string(kind.destroy) + "(unit, " + variable + ");"};
}

}  // namespace

ScriptObjects::Object* ScriptObjects::live(Ref kind, int64_t id) {
  for (auto object = objects_.rbegin(); object != objects_.rend(); ++object) {
    if (object->alive && object->kind == kind && object->id == id) return &*object;
  }
  return nullptr;
}

std::string ScriptObjects::reference(Ref kind, int64_t id) {
  const Object* object = live(kind, id);
  return object && object->chosen ? object->variable : std::to_string(id);
}

// A group takes its statistics objects with it.
std::vector<std::string> ScriptObjects::removal(const bcmsim::Call& call) {
  const std::optional<bcmsim::CallSource::Value>& removed = call.source().removes;
  Object* object = removed ? live(removed->kind, removed->number) : nullptr;
  if (!object) return {};
  std::vector<Object*> gone{object};
  for (Object& stat : objects_) {
    if (object->kind == Ref::Group && stat.alive && stat.kind == Ref::Stat &&
        stat.group == object->id)
      gone.push_back(&stat);
  }
  std::string resets;
  for (Object* going : gone) {
    resets += " " + going->variable + " = -1;";
    if (call.rc == 0) going->alive = false;
  }
  return {"if (rv == BCM_E_NONE)" + (gone.size() > 1 ? " {" + resets + " }" : resets)};
}

std::vector<std::string> ScriptObjects::after(const bcmsim::Call& call,
                                              std::vector<std::string>& globals) {
  std::vector<std::string> statements = removal(call);
  const std::optional<bcmsim::CallSource::Made>& made = call.source().makes;
  if (!made || call.rc != 0) return statements;
  if (!made->chosen && live(made->kind, made->id)) return statements;  // replaced, not made
  const Kind& kind = kindOf(made->kind);
  const std::string variable = std::string(kind.prefix) + "_" + std::to_string(++made_[made->kind]);
  globals.push_back(std::string(kind.type) + " " + variable + " = -1;");
  statements.push_back("if (rv == BCM_E_NONE) " + variable + " = " + made->holder + ";");
  objects_.push_back({made->kind, made->id, made->chosen, made->group, variable});
  return statements;
}

void ScriptObjects::writeTeardown(std::ostream& out) const {
  const bool removes = std::any_of(objects_.begin(), objects_.end(),
                                   [](const Object& object) { return object.alive; });
  const bool interfaces = std::any_of(objects_.begin(), objects_.end(), [](const Object& object) {
    return object.alive && object.kind == Ref::L3Intf;
  });
  out << "\n/* Teardown: removes what the script made and did not remove, entries first, each"
         " kind\n   newest first. A variable is -1 while its object is not made. */\n"
      << "int filtersim_teardown(int unit)\n{\n"
      << (removes ? "    int rv;\n" : "") << "    int differences = 0;\n"
      << (interfaces ? "    bcm_l3_intf_t intf;\n" : "") << "\n";
  for (const Kind& kind : kKinds) {
    for (auto object = objects_.rbegin(); object != objects_.rend(); ++object) {
      if (!object->alive || object->kind != kind.ref) continue;
      out << "    if (" << object->variable << " != -1) {\n";
      for (const std::string& statement : destroyCall(kind, object->variable))
        out << "        " << statement << "\n";
      out << "        differences += filtersim_check(\"teardown\", \"" << kind.destroy
          << "\", rv, BCM_E_NONE);\n"
          << "        if (rv == BCM_E_NONE) " << object->variable << " = -1;\n    }\n";
    }
  }
  out << "    return differences;\n}\n";
}

}  // namespace filtersim
