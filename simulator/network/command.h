#pragma once

#include <string>
#include <vector>

namespace simulated {

// Runs a program with `input` on its standard input and waits for its end. Throws what it wrote to its standard error
// when it fails. No shell is involved.
void run_command(const std::vector<std::string>& arguments, const std::string& input = {});

}  // namespace simulated
