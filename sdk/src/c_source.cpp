#include "c_source.h"

#include <cctype>

#include <bcmsim/names.h>

#include "text.h"

namespace bcmsim::detail {
namespace {

// "bcmFieldActionDrop" from the prefix and the name the names table gives, which is the
// number itself for a value the table does not know.
std::string enumerator(const std::string& prefix, const std::string& name) {
  const bool numeric = !name.empty() && (isdigit(static_cast<unsigned char>(name[0])) || name[0] == '-');
  return numeric ? name : prefix + name;
}

std::string byte_text(uint32_t value) {
  return hex_text(value & 0xff);
}

}  // namespace

std::string c_action(int action) {
  return enumerator("bcmFieldAction", action_name(action));
}
std::string c_qualifier(int qualifier) {
  return enumerator("bcmFieldQualify", qualifier_name(qualifier));
}
std::string c_stat_type(int type) {
  return enumerator("bcmFieldStat", stat_type_name(type));
}
std::string c_port_control(int type) {
  return enumerator("bcmPortControl", port_control_name(type));
}
std::string c_switch_control(int type) {
  return enumerator("bcmSwitch", switch_control_name(type));
}

std::vector<std::string> c_mac_bytes(const std::string& name, const Words& mac) {
  const uint32_t bytes[6] = {mac[0] >> 8, mac[0], mac[1] >> 24, mac[1] >> 16, mac[1] >> 8, mac[1]};
  std::vector<std::string> statements;
  for (int i = 0; i < 6; ++i) {
    statements.push_back(name + "[" + std::to_string(i) + "] = " + byte_text(bytes[i]) + ";");
  }
  return statements;
}

void CSourceBuilder::argument(const std::string& expression) {
  source_.args += (source_.args.empty() ? "" : ", ") + expression;
}

void CSourceBuilder::declare(const std::string& type, const std::string& name) {
  source_.variables.push_back(type + " " + name);
}

CSourceBuilder& CSourceBuilder::literal(const std::string& value) {
  argument(value);
  return *this;
}

CSourceBuilder& CSourceBuilder::hex(uint32_t value) {
  return literal(hex_text(value));
}

std::string CSourceBuilder::mark(Ref kind, int64_t value) {
  CallSource::Value reference;
  reference.kind = kind;
  reference.number = value;
  return remember(std::move(reference));
}

std::string CSourceBuilder::remember(CallSource::Value value) {
  source_.values.push_back(std::move(value));
  return "$" + std::to_string(source_.values.size() - 1);
}

CSourceBuilder& CSourceBuilder::mac(const std::string& name, const Words& mac) {
  declare("bcm_mac_t", name);
  fill(c_mac_bytes(name, mac));
  argument(name);
  return *this;
}

CSourceBuilder& CSourceBuilder::uint64(const std::string& name, uint64_t value) {
  declare("uint64", name);
  source_.inputs.push_back("COMPILER_64_SET(&" + name + ", " + hex_text(value >> 32) + ", " +
                           hex_text(value & 0xffffffffu) + ");");
  argument(name);
  return *this;
}

CSourceBuilder& CSourceBuilder::ip6(const std::string& name, const Words& ip6) {
  declare("bcm_ip6_t", name);
  for (int i = 0; i < 16; ++i) {
    const uint32_t byte = ip6[i / 4] >> (24 - 8 * (i % 4));
    source_.inputs.push_back(name + "[" + std::to_string(i) + "] = " + byte_text(byte) + ";");
  }
  argument(name);
  return *this;
}

CSourceBuilder& CSourceBuilder::pbmp(const std::string& name, const Words& ports) {
  declare("bcm_pbmp_t", name);
  CallSource::Value bitmap;
  bitmap.kind = Ref::PortBitmap;
  bitmap.name = name;
  bitmap.ports = ports;
  source_.inputs.push_back(remember(std::move(bitmap)));
  argument(name);
  return *this;
}

CSourceBuilder& CSourceBuilder::structure(const std::string& type, const std::string& name,
                                          const Fields& fields, bool initialise) {
  declare(type, name);
  if (initialise) source_.inputs.push_back(type + "_init(&" + name + ");");
  for (const auto& [field, value] : fields) {
    source_.inputs.push_back(name + "." + field + " = " + value + ";");
  }
  argument("&" + name);
  return *this;
}

CSourceBuilder& CSourceBuilder::fill(std::vector<std::string> statements) {
  for (std::string& statement : statements) source_.inputs.push_back(std::move(statement));
  return *this;
}

CSourceBuilder& CSourceBuilder::output(const std::string& type, const std::string& name) {
  declare(type, name);
  argument("&" + name);
  return *this;
}

CSourceBuilder& CSourceBuilder::array(const std::string& type, const std::string& name,
                                      const std::vector<std::string>& values) {
  // Named by its length, so that arrays of different lengths in one function do not collide.
  const std::string variable = name + std::to_string(values.size());
  declare(type, variable + "[" + std::to_string(values.size()) + "]");
  for (size_t i = 0; i < values.size(); ++i) {
    source_.inputs.push_back(variable + "[" + std::to_string(i) + "] = " + values[i] + ";");
  }
  argument(variable);
  return *this;
}

CSourceBuilder& CSourceBuilder::makes(Ref kind, int64_t id, bool chosen, const std::string& holder,
                                      std::optional<int64_t> group) {
  source_.makes = CallSource::Made{kind, id, chosen, holder, group};
  return *this;
}

CSourceBuilder& CSourceBuilder::removes(Ref kind, int64_t id) {
  CallSource::Value object;
  object.kind = kind;
  object.number = id;
  source_.removes = object;
  return *this;
}

}  // namespace bcmsim::detail
