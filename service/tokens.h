#pragma once

#include <array>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace corvane::service {

// What the holder of a token may do; each may do what those before it may.
enum class Role { View, Operate, Admin };
// "view", "operate", "admin".
const char* NameOf(Role role);
std::optional<Role> FindRole(const std::string& name);
std::vector<std::string> RoleNames();

using TokenHash = std::array<unsigned char, 32>; // SHA-256

// A token as it is kept: nobody can make the token of it.
struct STokenEntry {
    std::string name; // who has it; no two entries have the same
    Role role = Role::View;
    TokenHash hash{};
};

// 256 random bits in base64url, without padding. Throws std::runtime_error where the system has none.
std::string MakeToken();
TokenHash HashOf(const std::string& token);

// The entry of a token that somebody presents; null where there is none. How long it takes tells nothing of
// the hashes.
const STokenEntry* FindToken(const std::vector<STokenEntry>& entries, const std::string& token);

// The entries of a token file, in its order. Throws site::CFileError, as site::ReadJsonFile() does.
std::vector<STokenEntry> ReadTokenFile(const std::string& file);

// A name of an entry that cannot be taken, or that is not there.
class CTokenNameError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Puts a new token into the file, which need not be there yet, and returns it: it is not kept anywhere else.
// Of several programs that change the file at once each has its turn. Throws CTokenNameError, and
// site::CFileError.
std::string AddToken(const std::string& file, const std::string& name, Role role);

// Takes an entry out of the file, and returns it. Throws likewise.
STokenEntry RevokeToken(const std::string& file, const std::string& name);

} // namespace corvane::service
