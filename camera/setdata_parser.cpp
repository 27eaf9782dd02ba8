#include "camera/setdata_parser.h"

#include <array>
#include <cstring>
#include <vector>

namespace corvane::panasonic_camera {

namespace {

// Keys that are still to be found, listed by the characters before their trailing comma: one pass over the
// dump's commas finds them all, where a search for each would read the dump once a key. Many keys have their
// last character in common ("SIZE", "MODE", "_2"), few the last three.
class CPendingKeys {
public:
    explicit CPendingKeys(SettingMap& settings) {
        heads_.fill(None);
        entries_.reserve(settings.size());
        for (auto& [key, value] : settings) {
            value.clear();
            if (key.size() <= ListedBy || key.back() != ',') {
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
        if (comma < ListedBy)
            return;
        int* link = &heads_[listOf(dump, comma)];
        while (*link != None) {
            const SEntry& entry = entries_[static_cast<std::size_t>(*link)];
            if (!endsAt(dump, comma, *entry.key)) {
                link = &entries_[static_cast<std::size_t>(*link)].next;
                continue;
            }
            takeBehind(dump, comma + 1, *entry.value);
            *link = entry.next;
        }
    }

    // Searches for the keys that no comma leads to.
    void takeUnlisted(const std::string& dump) {
        for (const SEntry& entry : unlisted_) {
            const std::size_t at = dump.find(*entry.key);
            if (at != std::string::npos)
                takeBehind(dump, at + entry.key->size(), *entry.value);
        }
    }

private:
    static constexpr int None = -1;
    static constexpr std::size_t ListedBy = 3; // characters
    static constexpr std::size_t Lists = 512;

    struct SEntry {
        const std::string* key;
        std::string* value;
        int next;
    };

    static std::size_t listOf(const std::string& text, std::size_t comma) {
        const auto at = [&text, comma](std::size_t before) {
            return static_cast<unsigned char>(text[comma - before]);
        };
        return (at(1) + std::size_t{7} * at(2) + std::size_t{31} * at(3)) % Lists;
    }

    static bool endsAt(const std::string& dump, std::size_t comma, const std::string& key) {
        return key.size() <= comma + 1 &&
               std::memcmp(dump.data() + comma + 1 - key.size(), key.data(), key.size()) == 0;
    }

    static void takeBehind(const std::string& dump, std::size_t keyEnd, std::string& value) {
        const std::size_t begin = keyEnd + 1; // the opening quote
        if (begin < dump.size())
            value.assign(dump, begin, dump.find('"', begin) - begin);
    }

    std::array<int, Lists> heads_;
    std::vector<SEntry> entries_;
    std::vector<SEntry> unlisted_;
};

} // namespace

void ParseSetdata(const std::string& dump, SettingMap& settings) {
    CPendingKeys pending(settings);
    for (std::size_t comma = dump.find(','); comma != std::string::npos; comma = dump.find(',', comma + 1))
        pending.takeAt(dump, comma);
    pending.takeUnlisted(dump);
}

} // namespace corvane::panasonic_camera
