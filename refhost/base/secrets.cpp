#include "refhost/base/log.h"
#include "refhost/base/percent_encoding.h"

#include <algorithm>
#include <cctype>
#include <mutex>
#include <shared_mutex>
#include <string_view>
#include <vector>

namespace corvane::refhost {
namespace {

constexpr std::string_view Mask = "***";
constexpr std::string_view Digits = "0123456789";
constexpr std::string_view AuthorizationHeader = "authorization:";
// What a credential is called where a short secret gives itself away by its name alone.
constexpr std::string_view PasswordNames[] = {"password", "passwd", "pass", "pwd"};
constexpr std::string_view PasswordSeparators = " =:\"'";

struct SSecrets {
    std::shared_mutex mutex;
    std::vector<std::string> texts; // guarded by mutex; longest first, so that none is masked in part
};

// Never destroyed: threads that nobody joins may still log while the process ends.
SSecrets& Secrets() {
    static SSecrets& instance = *new SSecrets;
    return instance;
}

char Lower(char c) {
    return static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
}

bool IsWordCharacter(char c) {
    return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_';
}

std::string Lowered(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), Lower);
    return text;
}

// Texts that turn up by chance: "page=12345" gives no password away, and a mask for every "1" hides the line.
bool IsCommonplace(const std::string& secret) {
    return secret.size() < 4 || (secret.size() < 8 && secret.find_first_not_of(Digits) == std::string::npos);
}

bool StandsBehindPasswordName(const std::string& line, std::size_t at) {
    const std::string before = Lowered(line.substr(0, at));
    const std::size_t last = before.find_last_not_of(PasswordSeparators);
    if (last == std::string::npos || last + 1 == before.size())
        return false;
    const std::string_view name = std::string_view(before).substr(0, last + 1);
    return std::any_of(std::begin(PasswordNames), std::end(PasswordNames), [&](std::string_view known) {
        return name.size() >= known.size() && name.substr(name.size() - known.size()) == known;
    });
}

// Where a location has its password, whatever characters that is made of.
bool StandsInLocation(const std::string& line, std::size_t at, std::size_t end) {
    return at > 0 && line[at - 1] == ':' && end < line.size() && line[end] == '@';
}

bool GivesSecretAway(const std::string& line, std::size_t at, const std::string& secret) {
    const std::size_t end = at + secret.size();
    if (!IsCommonplace(secret) || StandsInLocation(line, at, end))
        return true;
    return (end == line.size() || !IsWordCharacter(line[end])) && StandsBehindPasswordName(line, at);
}

void MaskSecret(std::string& line, const std::string& secret) {
    for (std::size_t at = line.find(secret); at != std::string::npos; at = line.find(secret, at)) {
        if (GivesSecretAway(line, at, secret)) {
            line.replace(at, secret.size(), Mask);
            at += Mask.size();
        } else {
            ++at;
        }
    }
}

void MaskUserInformation(std::string& line) {
    constexpr std::string_view SchemeEnd = "://";
    for (std::size_t at = line.find(SchemeEnd); at != std::string::npos; at = line.find(SchemeEnd, at)) {
        at += SchemeEnd.size();
        const std::size_t end = std::min(line.find_first_of("/?# \t\r\n\"<>", at), line.size());
        const std::size_t sign = std::string_view(line).substr(0, end).rfind('@');
        const std::size_t colon = line.find(':', at);
        if (sign == std::string::npos || sign < at || colon > sign)
            continue;
        line.replace(at, sign - at, Mask);
        at += Mask.size();
    }
}

void MaskAuthorization(std::string& line) {
    std::string searched = Lowered(line);
    for (std::size_t at = searched.find(AuthorizationHeader); at != std::string::npos;
         at = searched.find(AuthorizationHeader, at)) {
        at += AuthorizationHeader.size();
        const std::size_t end = std::min(line.find_first_of("\r\n", at), line.size());
        line.replace(at, end - at, " ").insert(at + 1, Mask);
        searched = Lowered(line);
    }
}

} // namespace

void AddSecret(const std::string& secret) {
    if (secret.empty())
        return;
    SSecrets& known = Secrets();
    const std::unique_lock<std::shared_mutex> lock(known.mutex);
    for (const std::string& text : {secret, PercentEncoded(secret), FormEncoded(secret)})
        if (std::find(known.texts.begin(), known.texts.end(), text) == known.texts.end())
            known.texts.push_back(text);
    std::stable_sort(known.texts.begin(), known.texts.end(),
                     [](const std::string& a, const std::string& b) { return a.size() > b.size(); });
}

std::string MaskSecrets(const std::string& line) {
    std::string masked = line;
    // The known ones before the rest: one that is masked in part is not found any more.
    SSecrets& known = Secrets();
    {
        const std::shared_lock<std::shared_mutex> lock(known.mutex);
        for (const std::string& secret : known.texts)
            MaskSecret(masked, secret);
    }
    MaskUserInformation(masked);
    MaskAuthorization(masked);
    return masked;
}

} // namespace corvane::refhost
