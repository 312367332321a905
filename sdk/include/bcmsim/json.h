// The whole device as one JSON document.
#pragma once

#include <string>

namespace bcmsim {

std::string dump_json();

}  // namespace bcmsim
