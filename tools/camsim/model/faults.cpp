#include "model/faults.h"

#include "model/fault_kinds.h"

#include <algorithm>
#include <fnmatch.h>
#include <numeric>

namespace camsim {
namespace {

constexpr size_t MostFaults = 4000;
constexpr size_t MostText = 4 * 1024 * 1024; // in the bodies of all faults

// A monitor is hit by what hits any HTTP request, too.
bool HitsProtocol(const SFault& fault, FaultProtocol protocol) {
    const std::vector<FaultProtocol>& hit = RuleOf(fault.kind).protocols;
    const auto hits = [&](FaultProtocol one) { return std::find(hit.begin(), hit.end(), one) != hit.end(); };
    return hits(protocol) || (protocol == FaultProtocol::Monitor && hits(FaultProtocol::Http));
}

bool IsSpent(const SFault& fault) {
    return fault.count && *fault.count == 0;
}

size_t TextOf(const SFault& fault) {
    return fault.body ? fault.body->size() : 0;
}

size_t TextOf(const std::vector<SFault>& faults) {
    return std::accumulate(faults.begin(), faults.end(), size_t{0},
                           [](size_t sum, const SFault& fault) { return sum + TextOf(fault); });
}

bool Matches(const SFault& fault, const CFaultList::SRequest& request) {
    if (!HitsProtocol(fault, request.protocol) ||
        IsOfPort(fault) != (request.protocol == FaultProtocol::Port))
        return false;
    if (fault.camera && *fault.camera != request.camera)
        return false;
    if (fault.method ? *fault.method != request.method : !request.begins)
        return false;
    if (!request.authorized && !fault.unauthorized)
        return false;
    if (fault.kind == FaultKind::Stale && !request.digest)
        return false;
    if (fault.written && fault.writtenTo.count(request.camera) == 0)
        return false;
    return fnmatch(fault.path.c_str(), request.path.c_str(), 0) == 0 ||
           fnmatch(fault.path.c_str(), request.target.c_str(), 0) == 0;
}

// Whether it is the turn of a matching request to be hit; counts those that are passed over.
bool TakesItsTurn(SFault& fault) {
    if (fault.skip > 0) {
        --fault.skip;
        return false;
    }
    return !fault.every || ++fault.seen % *fault.every == 0;
}

void Count(SFault& fault) {
    if (fault.count)
        --*fault.count;
    ++fault.hits;
}

bool IsWrite(const CFaultList::SRequest& request) {
    return request.protocol == FaultProtocol::Http && request.method == "POST" && request.authorized;
}

// What of the outcome the fault would be. Delays are summed up, and hit along with another fault.
bool HasRoomFor(const SFault& fault, const SFaultOutcome& outcome) {
    if (fault.kind == FaultKind::Delay)
        return true;
    return fault.kind == FaultKind::Clock ? !outcome.clock : !outcome.fault;
}

void Enter(const SFault& fault, SFaultOutcome& outcome) {
    outcome.names.append(outcome.names.empty() ? "" : "+").append(FaultKindName(fault.kind));
    if (fault.kind == FaultKind::Delay)
        outcome.delay += std::chrono::milliseconds(*fault.milliseconds);
    else if (fault.kind == FaultKind::Clock)
        outcome.clock = fault;
    else
        outcome.fault = fault;
}

} // namespace

uint64_t CFaultList::add(SFault fault) {
    uint64_t id = 0;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        const size_t text = TextOf(fault);
        while (faults_.size() >= MostFaults || text + TextOf(faults_) > MostText) {
            const auto oldest = std::find_if(faults_.begin(), faults_.end(), IsSpent);
            if (oldest == faults_.end())
                throw CFaultError(
                    "there are " + std::to_string(faults_.size()) +
                    " faults, as many as may be, or as may be with such bodies: delete some first");
            faults_.erase(oldest);
        }
        id = fault.id = ++last_;
        faults_.push_back(std::move(fault));
    }
    changed();
    return id;
}

bool CFaultList::remove(uint64_t id) {
    return removeIf([&](const SFault& fault) { return fault.id == id; }) > 0;
}

std::optional<SFault> CFaultList::find(uint64_t id) const {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto found =
        std::find_if(faults_.begin(), faults_.end(), [&](const SFault& f) { return f.id == id; });
    return found == faults_.end() ? std::nullopt : std::optional(*found);
}

void CFaultList::removeNamed(const std::string& name, std::optional<size_t> camera) {
    removeIf([&](const SFault& fault) { return fault.name == name && fault.camera == camera; });
}

void CFaultList::clear() {
    removeIf([](const SFault&) { return true; });
}

size_t CFaultList::removeIf(const std::function<bool(const SFault&)>& goes) {
    size_t removed = 0;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        const size_t before = faults_.size();
        faults_.erase(std::remove_if(faults_.begin(), faults_.end(), goes), faults_.end());
        removed = before - faults_.size();
    }
    changed();
    return removed;
}

std::vector<SFault> CFaultList::list() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return faults_;
}

std::vector<SFault> CFaultList::listOfPorts() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    std::vector<SFault> faults;
    for (const SFault& fault : faults_)
        if (IsOfPort(fault) && !IsSpent(fault))
            faults.push_back(fault);
    return faults;
}

SFaultOutcome CFaultList::take(const SRequest& request) {
    const std::lock_guard<std::mutex> lock(mutex_);
    SFaultOutcome outcome;
    for (SFault& fault : faults_) {
        const bool hits = !IsSpent(fault) && HasRoomFor(fault, outcome) && Matches(fault, request);
        if (hits && TakesItsTurn(fault)) {
            Count(fault);
            Enter(fault, outcome);
        }
        if (IsWrite(request))
            fault.writtenTo.insert(request.camera);
    }
    return outcome;
}

} // namespace camsim
