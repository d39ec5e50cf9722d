// How one program starts another.
#pragma once

#include <chrono>
#include <string>

namespace stage {

enum class Lineage { child, childOfScript, orphan };

// `program`: its name, or the path of its executable, and its options, separated by spaces. A script takes its time
// before it starts what it is for.
void launch(const std::string& program, Lineage lineage, std::chrono::milliseconds scriptTakes);

}  // namespace stage
