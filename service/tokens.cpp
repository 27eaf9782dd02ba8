#include "service/tokens.h"

#include "refhost/base/printable_text.h"
#include "refhost/base/private_file.h"
#include "refhost/text/near_names.h"
#include "site/json_file.h"
#include "site/text_file.h"

#include <nlohmann/json.hpp>
#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/rand.h>

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <stdexcept>
#include <utility>

namespace corvane::service {
namespace {

using refhost::CJsonNode;
using SMember = CJsonNode::SMember;
using Entries = std::vector<STokenEntry>;

constexpr std::size_t TokenBytes = 32;
constexpr std::size_t LongestName = 64; // bytes
constexpr const char* HexDigits = "0123456789abcdef";

constexpr std::pair<Role, const char*> Roles[] = {
    {Role::View, "view"}, {Role::Operate, "operate"}, {Role::Admin, "admin"}};

std::string HexOf(const TokenHash& hash) {
    std::string text;
    for (const unsigned char byte : hash) {
        text += HexDigits[byte >> 4];
        text += HexDigits[byte & 15];
    }
    return text;
}

std::optional<TokenHash> HashOfHex(const std::string& text) {
    TokenHash hash{};
    if (text.size() != 2 * hash.size() ||
        text.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos)
        return std::nullopt;
    for (std::size_t i = 0; i < hash.size(); ++i)
        hash[i] = static_cast<unsigned char>(std::stoi(text.substr(2 * i, 2), nullptr, 16));
    return hash;
}

auto FindName(const Entries& entries, const std::string& name) {
    return std::find_if(entries.begin(), entries.end(),
                        [&](const STokenEntry& entry) { return entry.name == name; });
}

// Why it cannot be a name; it stands in messages and at the head of a camera that somebody moves.
const char* NameFault(const std::string& name) {
    const bool isFit = !name.empty() && name.size() <= LongestName && refhost::PrintableText(name) == name;
    return isFit ? nullptr : "expected a name of 1 to 64 bytes, without control characters";
}

// Reads one file's entries; the role and the hash of each are refused where they stand.
STokenEntry ReadEntry(const CJsonNode& node, const Entries& before) {
    STokenEntry entry;
    node.object({{"name", SMember::Required,
                  [&](const CJsonNode& name) {
                      entry.name = name.text();
                      if (const char* const fault = NameFault(entry.name))
                          name.refuse(fault);
                      if (FindName(before, entry.name) != before.end())
                          name.refuse("another token has the name \"" + entry.name + "\"");
                  }},
                 {"role", SMember::Required,
                  [&](const CJsonNode& role) {
                      const auto found = FindRole(role.text());
                      if (!found)
                          role.refuseName("there is no such role", role.text(), RoleNames());
                      entry.role = *found;
                  }},
                 {"sha256", SMember::Required, [&](const CJsonNode& hash) {
                      const auto read = HashOfHex(hash.text());
                      if (!read)
                          hash.refuse("expected 64 hexadecimal digits");
                      entry.hash = *read;
                      // Which of both roles would such a token have?
                      for (const STokenEntry& other : before)
                          if (other.hash == entry.hash)
                              hash.refuse("\"" + other.name + "\" has the same token");
                  }}});
    return entry;
}

void WriteTokenFile(const std::string& file, const Entries& entries) {
    nlohmann::ordered_json tokens = nlohmann::ordered_json::array();
    for (const STokenEntry& entry : entries)
        tokens.push_back({{"name", entry.name}, {"role", NameOf(entry.role)}, {"sha256", HexOf(entry.hash)}});
    site::ReplaceJsonFile(file, {{"tokens", tokens}});
}

// Beside the file and not the file itself, which is another one after each change.
std::string LockFileOf(const std::string& file) {
    std::string lock = file + ".lock";
    const refhost::SOpenedFile opened = refhost::OpenPrivateFile(lock, O_RDONLY | O_CREAT | O_CLOEXEC);
    if (opened.descriptor < 0)
        throw site::CUnwritableFile(file, opened.failure);
    ::close(opened.descriptor);
    return lock;
}

// Changes the file's entries while nobody else does.
template <class Change>
void ChangeTokens(const std::string& file, const Change& change) {
    const site::CFileLock alone(LockFileOf(file));
    Entries entries;
    if (std::error_code none; std::filesystem::exists(file, none))
        entries = ReadTokenFile(file);
    change(entries);
    WriteTokenFile(file, entries);
}

} // namespace

const char* NameOf(Role role) {
    for (const auto& [known, name] : Roles)
        if (known == role)
            return name;
    return "";
}

std::optional<Role> FindRole(const std::string& name) {
    for (const auto& [role, known] : Roles)
        if (name == known)
            return role;
    return std::nullopt;
}

std::vector<std::string> RoleNames() {
    std::vector<std::string> names;
    for (const auto& row : Roles)
        names.emplace_back(row.second);
    return names;
}

std::string MakeToken() {
    unsigned char bytes[TokenBytes];
    if (RAND_bytes(bytes, TokenBytes) != 1)
        throw std::runtime_error("this machine gives no random numbers");
    unsigned char text[4 * ((TokenBytes + 2) / 3) + 1];
    const int length = EVP_EncodeBlock(text, bytes, TokenBytes);
    OPENSSL_cleanse(bytes, sizeof bytes);
    std::string token(text, text + length);
    std::replace(token.begin(), token.end(), '+', '-');
    std::replace(token.begin(), token.end(), '/', '_');
    token.erase(token.find('='));
    return token;
}

TokenHash HashOf(const std::string& token) {
    TokenHash hash{};
    if (EVP_Digest(token.data(), token.size(), hash.data(), nullptr, EVP_sha256(), nullptr) != 1)
        throw std::runtime_error("this machine's OpenSSL has no SHA-256");
    return hash;
}

const STokenEntry* FindToken(const Entries& entries, const std::string& token) {
    const TokenHash hash = HashOf(token);
    const STokenEntry* found = nullptr;
    for (const STokenEntry& entry : entries) // all of them, wherever it stands
        if (CRYPTO_memcmp(entry.hash.data(), hash.data(), hash.size()) == 0)
            found = &entry;
    return found;
}

Entries ReadTokenFile(const std::string& file) {
    Entries entries;
    site::ReadJsonFile(file, [&](const CJsonNode& root) {
        root.object({{"tokens", SMember::Required, [&](const CJsonNode& tokens) {
                          tokens.eachEntry(
                              [&](const CJsonNode& one) { entries.push_back(ReadEntry(one, entries)); });
                      }}});
    });
    return entries;
}

std::string AddToken(const std::string& file, const std::string& name, Role role) {
    if (const char* const fault = NameFault(name))
        throw CTokenNameError(fault);
    std::string token = MakeToken();
    ChangeTokens(file, [&](Entries& entries) {
        if (FindName(entries, name) != entries.end())
            throw CTokenNameError("there is a token \"" + name +
                                  "\" already; revoke it, or take another name");
        entries.push_back({name, role, HashOf(token)});
    });
    return token;
}

STokenEntry RevokeToken(const std::string& file, const std::string& name) {
    STokenEntry revoked;
    ChangeTokens(file, [&](Entries& entries) {
        const auto found = FindName(entries, name);
        if (found == entries.end()) {
            std::vector<std::string> names;
            for (const STokenEntry& entry : entries)
                names.push_back(entry.name);
            throw CTokenNameError("there is no token \"" + name + "\"" + refhost::DidYouMean(name, names));
        }
        revoked = *found;
        entries.erase(found);
    });
    return revoked;
}

} // namespace corvane::service
