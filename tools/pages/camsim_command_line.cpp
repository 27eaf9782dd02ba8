// Prints camsim's command line, which manual and completion are made of.

#include "tools/camsim/options.h"
#include "tools/pages/command_line_json.h"

#include <iostream>

int main() {
    std::cout << pages::CommandLineJson(camsim::CCommandLine().program()).dump(1) << "\n";
}
