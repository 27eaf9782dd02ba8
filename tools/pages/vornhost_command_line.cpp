// Prints vornhost's command line, which manual and completion are made of.

#include "tools/pages/command_line_json.h"
#include "tools/vornhost/verbs/command_line.h"

#include <iostream>

int main() {
    std::cout << pages::CommandLineJson(corvane::vornhost::CCommandLine().program()).dump(1) << "\n";
}
