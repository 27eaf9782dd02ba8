#include "site/base/standard_streams.h"
#include "tools/vornhost/program.h"

int main(int argc, char** argv) {
    corvane::site::EndProcess(corvane::vornhost::RunProgram(argc, argv));
}
