#include "camera/setdata_parser.h"

#include <array>
#include <cstring>
#include <vector>

namespace corvane::panasonic_camera {

namespace {

// Keys that are still to be found, listed by the character before their trailing comma: one pass over the
// dump's commas finds them all, where a search for each would read the dump once a key.
class CPendingKeys {
public:
    explicit CPendingKeys(std::map<std::string, std::string>& settings) {
        heads_.fill(None);
        entries_.reserve(settings.size());
        for (auto& [key, value] : settings) {
            value.clear();
            if (key.size() < 2 || key.back() != ',') {
                unlisted_.push_back({&key, &value, None});
                continue;
            }
            int& head = heads_[listOf(key, key.size() - 1)];
            entries_.push_back({&key, &value, head});
            head = static_cast<int>(entries_.size()) - 1;
        }
    }

    // Takes the values of the keys that end with the comma at `comma`.
    void takeAt(const std::string& dump, std::size_t comma) {
        if (comma == 0)
            return;
        int* link = &heads_[listOf(dump, comma)];
        while (*link != None) {
            const SEntry& entry = entries_[static_cast<std::size_t>(*link)];
            if (!endsAt(dump, comma, *entry.key)) {
                link = &entries_[static_cast<std::size_t>(*link)].next;
                continue;
            }
            *entry.value = valueBehind(dump, comma + 1);
            *link = entry.next;
        }
    }

    // Searches for the keys that no comma leads to.
    void takeUnlisted(const std::string& dump) {
        for (const SEntry& entry : unlisted_) {
            const std::size_t at = dump.find(*entry.key);
            if (at != std::string::npos)
                *entry.value = valueBehind(dump, at + entry.key->size());
        }
    }

private:
    static constexpr int None = -1;

    struct SEntry {
        const std::string* key;
        std::string* value;
        int next;
    };

    static std::size_t listOf(const std::string& text, std::size_t comma) {
        return static_cast<unsigned char>(text[comma - 1]);
    }

    static bool endsAt(const std::string& dump, std::size_t comma, const std::string& key) {
        return key.size() <= comma + 1 &&
               std::memcmp(dump.data() + comma + 1 - key.size(), key.data(), key.size()) == 0;
    }

    static std::string valueBehind(const std::string& dump, std::size_t keyEnd) {
        const std::size_t begin = keyEnd + 1; // the opening quote
        if (begin >= dump.size())
            return {};
        return dump.substr(begin, dump.find('"', begin) - begin);
    }

    std::array<int, 256> heads_;
    std::vector<SEntry> entries_;
    std::vector<SEntry> unlisted_;
};

} // namespace

void ParseSetdata(const std::string& dump, std::map<std::string, std::string>& settings) {
    CPendingKeys pending(settings);
    for (std::size_t comma = dump.find(','); comma != std::string::npos; comma = dump.find(',', comma + 1))
        pending.takeAt(dump, comma);
    pending.takeUnlisted(dump);
}

} // namespace corvane::panasonic_camera
