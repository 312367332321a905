#include "cint_function.h"

#include <algorithm>

#include <bcmsim/device.h>
#include <bcmsim/names.h>

#include "packet_text.h"

namespace filtersim {
namespace {

// The call's arguments with the unit replaced by the function's `unit` parameter.
std::string argumentsForUnit(const std::string& args) {
  const std::string unit = std::to_string(bcmsim::config().unit);
  const size_t end = args.find(',');
  const std::string first = args.substr(0, end);
  if (first != unit) return args;
  return "unit" + (end == std::string::npos ? "" : args.substr(end));
}

// The value a statement that is a mark alone stands for, or nullptr.
const bcmsim::CallSource::Value* markAlone(const std::string& statement,
                                           const bcmsim::CallSource& source) {
  if (statement.size() < 2 || statement[0] != '$' ||
      statement.find_first_not_of("0123456789", 1) != std::string::npos)
    return nullptr;
  return &source.values.at(std::stoul(statement.substr(1)));
}

}  // namespace

ScriptFunction::ScriptFunction(std::string where, ScriptObjects& objects, const PortMap& ports)
    : where_(std::move(where)), objects_(objects), ports_(ports) {}

void ScriptFunction::addVariable(const std::string& declaration) {
  if (std::find(variables_.begin(), variables_.end(), declaration) == variables_.end())
    variables_.push_back(declaration);
}

std::string ScriptFunction::expand(const std::string& text, const bcmsim::CallSource& source) {
  std::string out;
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '$') {
      out += text[i];
      continue;
    }
    const size_t end = std::min(text.find_first_not_of("0123456789", i + 1), text.size());
    const bcmsim::CallSource::Value& value =
        source.values.at(std::stoul(text.substr(i + 1, end - i - 1)));
    out += value.kind == bcmsim::Ref::Port ? ports_.text(static_cast<int>(value.number))
                                           : objects_.reference(value.kind, value.number);
    i = end - 1;
  }
  return out;
}

// A bitmap the port map writes from the switch's port configuration reads it first, unless the
// function has read it already.
void ScriptFunction::fillBitmap(const bcmsim::CallSource::Value& bitmap) {
  if (ports_.readsPortConfig(bitmap.ports) && !read_port_config_) {
    addVariable("bcm_port_config_t port_config");
    statements_.push_back("rv = bcm_port_config_get(unit, &port_config);");
    statements_.push_back("differences += filtersim_check(\"" + where_ +
                          "\", \"bcm_port_config_get\", rv, BCM_E_NONE);");
    read_port_config_ = true;
  }
  for (std::string& statement : ports_.bitmap(bitmap.name, bitmap.ports))
    statements_.push_back(std::move(statement));
}

void ScriptFunction::call(const bcmsim::Call& call) {
  const bcmsim::CallSource& source = call.source();
  if (source.initialiser) return;  // written with the structure it fills
  has_calls_ = true;
  for (const std::string& variable : source.variables) addVariable(variable);
  for (const std::string& input : source.inputs) {
    if (const bcmsim::CallSource::Value* bitmap = markAlone(input, source)) {
      fillBitmap(*bitmap);
    } else {
      statements_.push_back(expand(input, source));
    }
  }
  statements_.push_back("rv = " + call.function + "(" +
                        argumentsForUnit(expand(source.args, source)) + ");");
  statements_.push_back("differences += filtersim_check(\"" + where_ + "\", \"" + call.function +
                        "\", rv, " + bcmsim::error_name(call.rc) + ");");
  if (call.function == "bcm_port_config_get") read_port_config_ = true;
  for (std::string& statement : objects_.after(call, globals_))
    statements_.push_back(std::move(statement));
}

void ScriptFunction::packet(const bcmsim::Packet& packet) {
  statements_.push_back("/* /* */");
  statements_.push_back("filtersim_packet(unit, \"" + packetText(packet) + "\");");
  statements_.push_back("// */");
}

void ScriptFunction::write(std::ostream& out, const std::string& name,
                           const std::string& title) const {
  if (!globals_.empty()) out << "\n";
  for (const std::string& global : globals_) out << global << "\n";
  out << "\n/* " << title << " */\nint " << name << "(int unit)\n{\n";
  if (has_calls_) out << "    int rv;\n";
  out << "    int differences = 0;\n";
  for (const std::string& variable : variables_) out << "    " << variable << ";\n";
  out << "\n";
  for (const std::string& statement : statements_) out << "    " << statement << "\n";
  out << "    return differences;\n}\n";
}

}  // namespace filtersim
