#pragma once

#include "model/faults.h"

#include <string_view>
#include <vector>

namespace camsim {

// The members that a kind has beside those that every fault has, those that it cannot do without, and the
// protocols whose requests it hits.
struct SKindRule {
    FaultKind kind;
    std::string_view name;
    std::vector<std::string_view> members;
    std::vector<std::string_view> required;
    std::vector<FaultProtocol> protocols;
};

const std::vector<SKindRule>& KindRules();
const SKindRule& RuleOf(FaultKind kind);

} // namespace camsim
