#include "site/site_file.h"

#include "host/video.h"
#include "operations/operations.h"
#include "refhost/base/address.h"
#include "refhost/text/json_node.h"
#include "site/json_file.h"
#include "site/stream_name.h"

#include <algorithm>
#include <ctime>
#include <filesystem>
#include <set>

namespace corvane::site {
namespace {

using device_handler::v1_0::COperationError;
using refhost::CJsonNode;
using refhost::CJsonRefusal;
using vorn_camera_base::v1_0::VideoFields;
using SMember = CJsonNode::SMember;
using Names = std::vector<std::string>;

constexpr std::size_t LongestName = 64;
constexpr int HighestInput = 255;
constexpr int HighestPort = 65535;
constexpr int HighestStream = 1;

const std::string StreamPrefix = "streams.";         // NOLINT(cert-err58-cpp)
const std::string AdjustmentPrefix = "adjustments."; // NOLINT(cert-err58-cpp)

bool Holds(const Names& names, const std::string& name) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

Names FieldNames() {
    Names names;
    for (const auto& field : VideoFields)
        names.emplace_back(field.name);
    return names;
}

std::string FilledText(const CJsonNode& node) {
    std::string text = node.text();
    if (text.empty())
        node.refuse("expected a text that is not empty");
    return text;
}

auto ToFilledText(std::string& value) {
    return [&value](const CJsonNode& node) { value = FilledText(node); };
}

bool IsOfName(char character) {
    return std::isalnum(static_cast<unsigned char>(character)) != 0 || character == '.' || character == '_' ||
           character == '-';
}

std::string CameraName(const CJsonNode& node) {
    std::string name = node.text();
    if (name.empty() || name.size() > LongestName || !std::all_of(name.begin(), name.end(), IsOfName))
        node.refuse("expected a name of letters, digits, \".\", \"_\" and \"-\", at most " +
                    std::to_string(LongestName));
    return name;
}

std::string Day(const CJsonNode& node) {
    std::string text = node.text();
    std::tm day{};
    const bool isOfDigits = text.find_first_not_of("0123456789-") == std::string::npos;
    const char* const rest =
        text.size() == 10 && isOfDigits ? ::strptime(text.c_str(), "%Y-%m-%d", &day) : nullptr;
    std::tm same = day;
    // A day that there is not becomes one of the next month.
    if (!rest || *rest != '\0' || ::timegm(&same) == -1 || same.tm_mday != day.tm_mday)
        node.refuse("expected a day, as in \"2027-03-31\"");
    return text;
}

// Reads one file. The members' order is the parser's; what refers to another is looked at when all is read.
class CReader {
public:
    CReader(std::string folder, const SSiteVocabulary& vocabulary)
        : folder_(std::move(folder)), vocabulary_(vocabulary) {}

    SSite read(const CJsonNode& root) {
        SSite site;
        SDefaults defaults;
        root.object(
            {{"credentials", SMember::Optional,
              [&](const CJsonNode& node) { site.credentials = credentials(node); }},
             {"defaults", SMember::Optional, [&](const CJsonNode& node) { defaults = this->defaults(node); }},
             {"cameras", SMember::Required, [&](const CJsonNode& node) {
                  node.eachEntry(
                      [&](const CJsonNode& camera) { site.cameras.push_back(this->camera(camera)); });
              }}});
        for (const auto& [place, name] : references_)
            if (site.credentials.count(name) == 0)
                CJsonNode(nlohmann::json(), place)
                    .refuseName("there are no credentials \"" + name + "\"", name, namesOf(site.credentials));
        for (std::size_t i = 0; i < site.cameras.size(); ++i) {
            const auto own = site.cameras[i].adjustments;
            takeDefaults(site.cameras[i], defaults);
            requireAdjustments(refhost::EntryPlace("cameras", i), own, site.cameras[i]);
        }
        return site;
    }

private:
    struct SDefaults {
        std::string credentials;
        std::string model;
        std::vector<SStreamWish> streams;
        std::map<std::string, std::string> adjustments;
        std::optional<std::vector<int>> inputs;
        std::optional<int> rtspPort;
    };

    static Names namesOf(const std::map<std::string, SSiteCredentials>& credentials) {
        Names names;
        for (const auto& row : credentials)
            names.push_back(row.first);
        return names;
    }

    std::map<std::string, SSiteCredentials> credentials(const CJsonNode& node) const {
        std::map<std::string, SSiteCredentials> all;
        node.eachMember([&](const std::string& name, const CJsonNode& entry) {
            SSiteCredentials& one = all[name];
            entry.object({{"user", SMember::Required, ToFilledText(one.user)},
                          {"passwordFile", SMember::Required, [&](const CJsonNode& file) {
                               one.passwordFile =
                                   (std::filesystem::path(folder_) / FilledText(file)).string();
                           }}});
        });
        return all;
    }

    // What cameras and defaults have in common.
    template <class Settings>
    std::vector<SMember> commonMembers(Settings& settings) {
        return {
            {"credentials", SMember::Optional,
             [&](const CJsonNode& node) {
                 settings.credentials = FilledText(node);
                 references_.emplace_back(node.place(), settings.credentials);
             }},
            {"model", SMember::Optional,
             [&](const CJsonNode& node) {
                 settings.model = FilledText(node);
                 if (!Holds(vocabulary_.models, settings.model))
                     node.refuseName("there is no such model", settings.model, vocabulary_.models);
             }},
            {"streams", SMember::Optional, [&](const CJsonNode& node) { settings.streams = streams(node); }},
            {"adjustments", SMember::Optional,
             [&](const CJsonNode& node) { settings.adjustments = adjustments(node); }},
            {"inputs", SMember::Optional, [&](const CJsonNode& node) { settings.inputs = inputs(node); }},
            {"rtspPort", SMember::Optional,
             [&](const CJsonNode& node) { settings.rtspPort = node.integer(1, HighestPort); }}};
    }

    SDefaults defaults(const CJsonNode& node) {
        SDefaults defaults;
        node.object(commonMembers(defaults));
        return defaults;
    }

    SSiteCamera camera(const CJsonNode& node) {
        SSiteCamera camera;
        std::vector<SMember> members = {
            {"name", SMember::Required,
             [&](const CJsonNode& name) {
                 camera.name = CameraName(name);
                 if (!names_.insert(camera.name).second)
                     name.refuse("another camera has the name \"" + camera.name + "\"");
             }},
            {"address", SMember::Required,
             [&](const CJsonNode& address) {
                 camera.address = address.text();
                 if (!refhost::ParseAddress(camera.address))
                     address.refuse("expected an address: HOST or HOST:PORT");
             }},
            {"serialNumber", SMember::Optional, ToFilledText(camera.serialNumber)},
            {"tags", SMember::Optional,
             [&](const CJsonNode& tags) {
                 tags.eachEntry([&](const CJsonNode& tag) { camera.tags.push_back(FilledText(tag)); });
             }},
            {"ignore", SMember::Optional, [&](const CJsonNode& all) {
                 all.eachEntry([&](const CJsonNode& one) { camera.ignored.push_back(ignored(one)); });
             }}};
        for (SMember& common : commonMembers(camera))
            members.push_back(std::move(common));
        node.object(members);
        return camera;
    }

    std::vector<SStreamWish> streams(const CJsonNode& node) const {
        std::vector<SStreamWish> wishes;
        node.eachEntry([&](const CJsonNode& entry) {
            SStreamWish wish;
            entry.object({{"stream", SMember::Required,
                           [&](const CJsonNode& stream) {
                               wish.id = streamId(stream, stream.text());
                               wish.name = StreamName(wish.id);
                           }},
                          {"record", SMember::Required,
                           [&](const CJsonNode& record) { wish.record = this->record(record); }}});
            const bool isThere = std::any_of(wishes.begin(), wishes.end(),
                                             [&](const SStreamWish& other) { return other.id == wish.id; });
            if (isThere)
                entry.refuse("the stream \"" + wish.name + "\" stands twice");
            wishes.push_back(std::move(wish));
        });
        return wishes;
    }

    static handler_impl::SVideoStreamId streamId(const CJsonNode& node, const std::string& text) {
        try {
            const auto id = ReadStreamName(text);
            if (id.channel < 0 || id.stream < 0 || id.stream > HighestStream)
                node.refuse("expected a channel from 0 on, and the stream 0 or 1");
            return id;
        } catch (const COperationError& expected) {
            node.refuse(std::string("expected ") + expected.what());
        }
    }

    static std::map<std::string, std::string> record(const CJsonNode& node) {
        std::map<std::string, std::string> record;
        node.eachMember([&](const std::string& name, const CJsonNode& value) {
            requireField(value, name);
            record[name] = FilledText(value);
            if (record[name].find(';') != std::string::npos)
                value.refuse("expected a value without \";\"");
        });
        return record;
    }

    static void requireField(const CJsonNode& node, const std::string& name) {
        if (const Names fields = FieldNames(); !Holds(fields, name))
            node.refuseName("a record has no field \"" + name + "\"", name, fields);
    }

    void requireAdjustment(const CJsonNode& node, const std::string& name) const {
        if (!Holds(vocabulary_.adjustments, name))
            node.refuseName("there is no adjustment \"" + name + "\"", name, vocabulary_.adjustments);
    }

    std::map<std::string, std::string> adjustments(const CJsonNode& node) const {
        std::map<std::string, std::string> wishes;
        node.eachMember([&](const std::string& name, const CJsonNode& value) {
            requireAdjustment(value, name);
            wishes[name] = FilledText(value);
        });
        return wishes;
    }

    // What they can be is known with the camera's model, which may be the defaults'.
    void requireAdjustments(const std::string& place, const std::map<std::string, std::string>& own,
                            const SSiteCamera& camera) const {
        if (!vocabulary_.refusedAdjustment)
            return;
        for (const auto& [name, value] : camera.adjustments)
            if (const auto reason = vocabulary_.refusedAdjustment(name, camera.model, value))
                throw CJsonRefusal(
                    refhost::MemberPlace(
                        refhost::MemberPlace(own.count(name) != 0 ? place : "defaults", "adjustments"), name),
                    *reason);
    }

    static std::vector<int> inputs(const CJsonNode& node) {
        std::vector<int> inputs;
        node.eachEntry([&](const CJsonNode& entry) {
            inputs.push_back(entry.integer(0, HighestInput));
            if (std::count(inputs.begin(), inputs.end(), inputs.back()) > 1)
                entry.refuse("the input stands twice");
        });
        return inputs;
    }

    SIgnored ignored(const CJsonNode& node) const {
        SIgnored one;
        node.object({{"of", SMember::Required,
                      [&](const CJsonNode& of) {
                          one.of = of.text();
                          requireIgnorable(of, one.of);
                      }},
                     {"reason", SMember::Required, ToFilledText(one.reason)},
                     {"until", SMember::Optional, [&](const CJsonNode& until) { one.until = Day(until); }}});
        return one;
    }

    void requireIgnorable(const CJsonNode& node, std::string& of) const {
        if (of.compare(0, AdjustmentPrefix.size(), AdjustmentPrefix) == 0)
            return requireAdjustment(node, of.substr(AdjustmentPrefix.size()));
        const std::size_t field = of.rfind('.');
        if (of.compare(0, StreamPrefix.size(), StreamPrefix) != 0 || field < StreamPrefix.size())
            node.refuse("expected \"adjustments.NAME\" or \"streams.CHANNEL,CODEC,STREAM.FIELD\"");
        const auto id = streamId(node, of.substr(StreamPrefix.size(), field - StreamPrefix.size()));
        requireField(node, of.substr(field + 1));
        of = StreamPrefix + StreamName(id) + of.substr(field); // as it is told
    }

    static void takeDefaults(SSiteCamera& camera, const SDefaults& defaults) {
        if (camera.credentials.empty())
            camera.credentials = defaults.credentials;
        if (camera.model.empty())
            camera.model = defaults.model;
        if (!camera.inputs)
            camera.inputs = defaults.inputs;
        if (!camera.rtspPort)
            camera.rtspPort = defaults.rtspPort;
        std::vector<SStreamWish> streams;
        for (const SStreamWish& wish : defaults.streams)
            if (std::none_of(camera.streams.begin(), camera.streams.end(),
                             [&](const SStreamWish& own) { return own.id == wish.id; }))
                streams.push_back(wish);
        streams.insert(streams.end(), camera.streams.begin(), camera.streams.end());
        camera.streams = std::move(streams);
        camera.adjustments.insert(defaults.adjustments.begin(), defaults.adjustments.end());
    }

    const std::string folder_;
    const SSiteVocabulary& vocabulary_;
    std::set<std::string> names_;
    std::vector<std::pair<std::string, std::string>> references_; // place and name of credentials
};

} // namespace

SSite ReadSiteFile(const std::string& file, const SSiteVocabulary& vocabulary) {
    SSite site;
    ReadJsonFile(file, [&](const CJsonNode& root) {
        site = CReader(std::filesystem::path(file).parent_path().string(), vocabulary).read(root);
    });
    return site;
}

} // namespace corvane::site
