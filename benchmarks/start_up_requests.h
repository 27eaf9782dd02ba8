#pragma once

#include "benchmarks/environment.h"
#include "benchmarks/plain_client.h"

#include <memory>
#include <string>
#include <vector>

namespace corvane::bench {

// The requests of a camera that comes up, by the plain client: one after another, on a new connection.
class CPlainStartUp {
public:
    explicit CPlainStartUp(const CEnvironment& environment);

    // The client with its connection still open.
    std::unique_ptr<CPlainClient> run(const std::string& address) const;

    const std::string& authenticationTest() const { return paths_.front(); }

private:
    const CEnvironment& environment_;
    std::vector<std::string> paths_;
};

} // namespace corvane::bench
