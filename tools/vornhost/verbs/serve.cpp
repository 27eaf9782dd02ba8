#include "tools/vornhost/verbs/serve.h"

#include "site/text_file.h"
#include "tools/vornhost/console/signals.h"
#include "tools/vornhost/verbs/number_range.h"
#include "tools/vornhost/verbs/verb.h"

#include <CLI/CLI.hpp>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>
#include <unistd.h>

namespace corvane::vornhost {
namespace {

constexpr const char* ServiceProgram = "vornhost-service";
constexpr double LeastMinutes = 0.1;
constexpr double MostMinutes = 7.0 * 24 * 60;

constexpr const char* ServeHelp =
    R"(When it serves it writes one line: {"listening":["http://127.0.0.1:8090"],"cameras":N}. At the first start
without --token-file it makes a token, and tells it once inside the page's address, on standard error.
SIGHUP reads the site file again; SIGTERM ends it. docs/service.md tells the rest.
Examples:
  vornhost serve yard.json
  vornhost serve yard.json --listen 192.168.0.2:8443 --tls-cert yard.crt --tls-key yard.key
  vornhost serve yard.json --mqtt mqtt://yard@broker.local --mqtt-password-file broker.password)";

// The words that this program was started with.
std::vector<std::string> CommandLine() {
    std::ifstream file("/proc/self/cmdline", std::ios::binary);
    std::vector<std::string> words;
    for (std::string word; std::getline(file, word, '\0');)
        words.push_back(word);
    return words;
}

ExitStatus BecomeService(const SOptions& /*options*/, const service::SServeOptions& /*serveOptions*/) {
    std::error_code error;
    const auto folder = std::filesystem::read_symlink("/proc/self/exe", error).parent_path();
    const std::string program = folder / ServiceProgram;
    std::vector<std::string> words = CommandLine();
    std::vector<char*> arguments;
    for (std::string& word : words)
        arguments.push_back(word.data());
    arguments.push_back(nullptr);
    BlockHangUp(); // the service takes it, and is not killed by it while it is being loaded
    execv(program.c_str(), arguments.data());
    throw CFailure(ExitStatus::NotStarted,
                   program + " cannot be started: " + std::generic_category().message(errno) +
                       (errno == ENOENT ? "; it is in the package vornhost-service" : ""),
                   OwnCause::Limit);
}

RunService runService = &BecomeService;

class CServe : public IVerb {
public:
    void declare(CLI::App& command) override {
        const auto file = [&command](const char* name, auto& target, const char* description) {
            return command.add_option(name, target, description)->type_name("FILE");
        };
        command.add_option("SITE", options_.site, "The site file")->required();
        command
            .add_option("--listen", options_.listen,
                        "Where, numeric; may be repeated (default: 127.0.0.1:8090)")
            ->type_name("ADDRESS:PORT");
        command
            .add_option("--state", options_.state,
                        "Where it keeps its tokens (default: see `vornhost token`)")
            ->type_name("DIR");
        CLI::Option* const key = file("--tls-key", options_.tlsKey, "The key of the certificate (PEM)");
        CLI::Option* const certificate =
            file("--tls-cert", options_.tlsCertificate, "The certificate, its chain behind it (PEM)")
                ->needs(key);
        key->needs(certificate);
        command
            .add_option("--public-host", options_.hosts,
                        "A further name that it is asked as; may be repeated")
            ->type_name("NAME");
        file("--token-file", options_.tokenFile, "Who may ask; see `vornhost token`");
        command.add_option("--name", options_.name, "What it is called (default: as the site file)")
            ->type_name("WORD");
        CLI::Option* const broker =
            command
                .add_option("--mqtt", options_.mqtt,
                            "Tell a broker what the site knows: mqtt[s]://[USER@]HOST[:PORT]")
                ->type_name("URL");
        file("--mqtt-password-file", options_.mqttPasswordFile,
             "Its first line is the password at the broker")
            ->needs(broker);
        command
            .add_option("--mqtt-prefix", options_.mqttPrefix,
                        "What all topics begin with (default: vornhost)")
            ->type_name("WORD")
            ->needs(broker);
        command.add_flag("--mqtt-calls", options_.mqttCalls, "Take calls from who may publish at the broker")
            ->needs(broker);
        command
            .add_flag("--mqtt-discovery", options_.mqttDiscovery, "Describe the inputs to home automation")
            ->needs(broker);
        command
            .add_option("--drift-minutes", options_.driftMinutes,
                        "How often each camera is held against the site file (default: 60)")
            ->type_name("N")
            ->check(Between(LeastMinutes, MostMinutes));
        command.add_flag("--no-page", options_.noPage, "Serve programs only");
        command.footer(ServeHelp);
    }

    ExitStatus run(const SOptions& options) override { return runService(options, options_); }

private:
    service::SServeOptions options_;
};

} // namespace

void SetRunService(RunService run) {
    runService = run;
}

std::unique_ptr<IVerb> MakeServeVerb() {
    return std::make_unique<CServe>();
}

} // namespace corvane::vornhost
