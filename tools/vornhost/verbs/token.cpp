#include "service/state_directory.h"
#include "service/tokens.h"
#include "site/base/json_line.h"
#include "site/base/names.h"
#include "site/base/standard_streams.h"
#include "site/text_file.h"
#include "tools/vornhost/console/table.h"
#include "tools/vornhost/names.h"
#include "tools/vornhost/verbs/verb.h"

#include <nlohmann/json.hpp>

#include <CLI/CLI.hpp>

namespace corvane::vornhost {
namespace {

constexpr const char* TokenHelp =
    R"(Who asks a service of this machine for anything needs a token. The file of them is FILE, else tokens.json
in DIR, else tokens.json in $STATE_DIRECTORY, else in $XDG_STATE_HOME/vornhost, else in
$HOME/.local/state/vornhost. It has no token, only what a service knows one by.
Examples:
  vornhost token add 'front desk' --role operate --state /var/lib/vornhost/yard
  vornhost token list
  vornhost token revoke 'front desk')";

constexpr const char* AddHelp =
    R"(Prints it, once: nobody can tell it again. Who may view sees cameras, pictures and events; who may operate
also moves them and makes calls that write; admin may all.
Example: vornhost token add 'front desk' --role operate > front-desk.token)";

ordered_json EntryJson(const std::string& name, service::Role role) {
    return {{"name", name}, {"role", NameOf(role)}};
}

class CToken : public IVerb {
public:
    void declare(CLI::App& command) override {
        command.require_subcommand(1);
        add_ = declareVerb(command, "add", "Makes a token and prints it");
        declareName(*add_);
        add_->add_option("--role", role_, "What its holder may do")
            ->required()
            ->type_name("R")
            ->check(CLI::IsMember(service::RoleNames()));
        add_->footer(AddHelp);
        list_ = declareVerb(command, "list", "Who has a token, and what they may do");
        revoke_ = declareVerb(command, "revoke", "From then on the token is worth nothing");
        declareName(*revoke_);
        command.footer(TokenHelp);
    }

    ExitStatus run(const SOptions& options) override {
        try {
            if (add_->parsed())
                add(options.json);
            else if (revoke_->parsed())
                revoke(options.json);
            else
                list(options.json);
        } catch (const service::CTokenNameError& error) {
            throw CFailure(ExitStatus::WrongUsage, error.what());
        } catch (const CUnwritableFile& error) {
            throw CFailure(ExitStatus::WrongUsage, error.what(), OwnCause::CannotWrite);
        } catch (const CFileError& error) {
            throw CFailure(ExitStatus::WrongUsage, error.what(), OwnCause::WrongFile);
        }
        return ExitStatus::Success;
    }

private:
    CLI::App* declareVerb(CLI::App& command, const char* name, const char* summary) {
        CLI::App* const verb = command.add_subcommand(name, summary);
        verb->fallthrough();
        CLI::Option* const file =
            verb->add_option("--token-file", file_, "The file of the tokens")->type_name("FILE");
        verb->add_option("--state", state_, "The service's state directory")
            ->type_name("DIR")
            ->excludes(file);
        return verb;
    }

    void declareName(CLI::App& verb) { verb.add_option("NAME", name_, "Who has it")->required(); }

    std::string stateDirectory() const { return state_.empty() ? service::UsualStateDirectory() : state_; }
    std::string file() const { return file_.empty() ? service::TokenFileIn(stateDirectory()) : file_; }

    void add(bool isForPrograms) const {
        if (file_.empty())
            service::MakeStateDirectory(stateDirectory());
        const service::Role role = *service::FindRole(role_);
        const std::string token = service::AddToken(file(), name_, role);
        ordered_json added = EntryJson(name_, role);
        added["token"] = token;
        WriteOutput(isForPrograms ? JsonLine(added) : token + "\n");
    }

    void revoke(bool isForPrograms) const {
        const service::STokenEntry entry = service::RevokeToken(file(), name_);
        ordered_json revoked = EntryJson(entry.name, entry.role);
        revoked["revoked"] = true;
        if (isForPrograms)
            WriteOutput(JsonLine(revoked));
    }

    void list(bool isForPrograms) const {
        CTable table({"NAME", "ROLE"});
        std::string lines;
        for (const service::STokenEntry& entry : service::ReadTokenFile(file())) {
            lines += JsonLine(EntryJson(entry.name, entry.role));
            table.addRow({entry.name, NameOf(entry.role)});
        }
        WriteOutput(isForPrograms ? lines : table.headingLines(ColourWanted()) + table.rowLines());
    }

    std::string file_;  // empty: the state directory's
    std::string state_; // empty: the usual one
    std::string name_;
    std::string role_;
    CLI::App* add_ = nullptr;
    CLI::App* list_ = nullptr;
    CLI::App* revoke_ = nullptr;
};

} // namespace

std::unique_ptr<IVerb> MakeTokenVerb() {
    return std::make_unique<CToken>();
}

} // namespace corvane::vornhost
