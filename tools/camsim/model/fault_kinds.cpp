#include "model/fault_kinds.h"

#include <algorithm>

namespace camsim {

const std::vector<SKindRule>& KindRules() {
    constexpr FaultProtocol Http = FaultProtocol::Http;
    constexpr FaultProtocol Monitor = FaultProtocol::Monitor;
    constexpr FaultProtocol Rtsp = FaultProtocol::Rtsp;
    constexpr FaultProtocol Port = FaultProtocol::Port;
    static const std::vector<SKindRule> rules{
        {FaultKind::Delay, "delay", {"ms"}, {"ms"}, {Http}},
        {FaultKind::Clock, "clock", {"seconds", "body"}, {}, {Http}},
        {FaultKind::Status, "status", {"status", "body", "location", "challenge"}, {"status"}, {Http}},
        {FaultKind::Drop, "drop", {}, {}, {Http, Port}},
        {FaultKind::Reset, "reset", {"ms"}, {}, {Http, Port}},
        {FaultKind::Cut, "cut", {"bytes", "ms"}, {}, {Http, Rtsp}},
        {FaultKind::Stall, "stall", {"bytes", "ms"}, {}, {Http, Port}},
        {FaultKind::Trickle, "trickle", {"bytes", "ms"}, {"bytes", "ms"}, {Http}},
        {FaultKind::Garbage, "garbage", {"size", "body", "ms"}, {}, {Http, Port}},
        {FaultKind::Header, "header", {"size"}, {"size"}, {Http}},
        {FaultKind::Body, "body", {"body", "size"}, {}, {Http}},
        {FaultKind::Truncate, "truncate", {"bytes"}, {"bytes"}, {Http}},
        {FaultKind::Damage, "damage", {}, {}, {Http}},
        {FaultKind::WrongCase, "wrongcase", {}, {}, {Http}},
        {FaultKind::Empty, "empty", {}, {}, {Http}},
        {FaultKind::Stale, "stale", {}, {}, {Http}},
        {FaultKind::Deny, "deny", {}, {}, {Http}},
        {FaultKind::Basic, "basic", {}, {}, {Http}},
        {FaultKind::Restart, "restart", {"ms"}, {}, {Http}},
        {FaultKind::Alter, "alter", {}, {}, {Http}},
        {FaultKind::Revert, "revert", {"ms"}, {}, {Http}},
        {FaultKind::Swap, "swap", {"model"}, {"model"}, {Http}},
        {FaultKind::Tls, "tls", {}, {}, {Port}},
        {FaultKind::Refuse, "refuse", {"status", "location", "challenge"}, {}, {Rtsp, Port}},
        {FaultKind::Silence, "silence", {"ms", "media"}, {}, {Monitor, Rtsp}},
        {FaultKind::Encode, "encode", {"codec", "width", "height", "rate"}, {}, {Rtsp}},
        {FaultKind::Close, "close", {"ms"}, {}, {Monitor}},
        {FaultKind::Split, "split", {"ms"}, {}, {Monitor}},
        {FaultKind::Chatter, "chatter", {"body", "ms"}, {"body"}, {Monitor}},
        {FaultKind::Alternate, "alternate", {"ms"}, {}, {Monitor}},
        {FaultKind::Flood, "flood", {}, {}, {Monitor}},
    };
    return rules;
}

const SKindRule& RuleOf(FaultKind kind) {
    return *std::find_if(KindRules().begin(), KindRules().end(),
                         [&](const SKindRule& known) { return known.kind == kind; });
}

std::string_view FaultKindName(FaultKind kind) {
    return RuleOf(kind).name;
}

} // namespace camsim
