#pragma once

#include "site/session/options.h"
#include "tools/vornhost/names.h"
#include "tools/vornhost/verbs/verb.h"

#include <CLI/CLI.hpp>

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace corvane::vornhost {

// The program's options and verbs, with their help: what is parsed, and what the manual is made of.
class CCommandLine {
public:
    CCommandLine();
    CCommandLine(const CCommandLine&) = delete;
    CCommandLine& operator=(const CCommandLine&) = delete;

    const CLI::App& program() const { return program_; }

    // Parses the words, and does what they ask for. Throws CFailure.
    ExitStatus run(int argc, char** argv);
    // What standard output says of a failure that run() has thrown; empty where it is for people, or the verb
    // is not known.
    std::string failureLine(const SDiagnosis& failure) const;

private:
    void declareVerbs();
    std::string verbExpected() const;

    CLI::App program_;
    SOptions options_;
    std::vector<std::pair<const CLI::App*, std::unique_ptr<IVerb>>> verbs_;
};

} // namespace corvane::vornhost
