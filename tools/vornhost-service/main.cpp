#include "service/service.h"
#include "site/base/standard_streams.h"
#include "tools/vornhost/console/signals.h"
#include "tools/vornhost/program.h"
#include "tools/vornhost/verbs/serve.h"

#include <memory>

namespace {

using corvane::vornhost::CEndRequest;

corvane::site::ExitStatus ServeHere(const corvane::site::SOptions& options,
                                    const corvane::service::SServeOptions& serveOptions) {
    std::unique_ptr<CEndRequest> end;
    return corvane::service::Serve(
        options, serveOptions,
        [&end](std::function<void()> request) { end = std::make_unique<CEndRequest>(std::move(request)); },
        VORNHOST_VERSION);
}

} // namespace

int main(int argc, char** argv) {
    corvane::vornhost::BlockHangUp(); // before any thread
    corvane::vornhost::SetRunService(&ServeHere);
    corvane::site::EndProcess(corvane::vornhost::RunProgram(argc, argv));
}
