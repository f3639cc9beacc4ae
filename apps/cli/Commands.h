#pragma once

#include "Command.h"

#include <memory>
#include <vector>

namespace Commands {

// Every `sorvane` command, in the order `sorvane --help` lists them.
std::vector<std::unique_ptr<Command>> all();

} // namespace Commands
