#include "refhost/models/model_list_file.h"

#include "host/stream_id.h"
#include "operations/whole_number.h"
#include "refhost/base/address.h"
#include "refhost/http/device_requests.h"
#include "refhost/models/json_node.h"

#include <boost/make_shared.hpp>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <iterator>
#include <limits>
#include <memory>
#include <utility>

namespace corvane::refhost {
namespace {

using namespace device_handler::v1_0;
using SMember = CJsonNode::SMember;

constexpr std::size_t LargestFileMebibytes = 8;
constexpr std::size_t LargestFile = LargestFileMebibytes << 20;
constexpr int LowestInt = std::numeric_limits<int>::min();
constexpr int HighestInt = std::numeric_limits<int>::max();
constexpr int MostInputs = 1024;

using Words = std::initializer_list<const char*>;
constexpr Words CodecNames = {VideoCodecNames[0].name, VideoCodecNames[1].name, VideoCodecNames[2].name};
constexpr Words UrlCodecNames = {VideoCodecNames[0].urlName, VideoCodecNames[1].urlName,
                                 VideoCodecNames[2].urlName, UrlOfNoCodec};
static_assert(std::size(VideoCodecNames) == 3);
constexpr Words DynamicRanges = {"Generic", "Conditional", "AdaptiveBlackStretchOnly"};
constexpr const char* CameraStreams = "camera";

bool holds(Words words, const std::string& word) {
    return std::find(words.begin(), words.end(), word) != words.end();
}

std::string listed(Words words) {
    std::string text;
    for (const char* word : words)
        text += (text.empty() ? "" : ", ") + std::string(word);
    return text;
}

// Readers of one value each, for the tables below: they return what reads a member into its destination.

auto toText(std::string& value) {
    return [&value](const CJsonNode& node) { value = node.text(); };
}

auto toFilledText(std::string& value) {
    return [&value](const CJsonNode& node) {
        value = node.text();
        if (value.empty())
            node.refuse("expected a text that is not empty");
    };
}

auto toDecimalText(std::string& value) {
    return [&value](const CJsonNode& node) {
        value = node.text();
        if (!operations::ReadWholeNumber<int>(value))
            node.refuse("expected a decimal number as a text");
    };
}

auto toOptionalDecimalText(std::string& value) {
    return [&value](const CJsonNode& node) {
        value = node.text();
        if (!value.empty() && !operations::ReadWholeNumber<int>(value))
            node.refuse("expected a decimal number as a text, or an empty text");
    };
}

auto toInteger(int& value, int minimum = LowestInt, int maximum = HighestInt) {
    return [&value, minimum, maximum](const CJsonNode& node) { value = node.integer(minimum, maximum); };
}

auto toTexts(std::vector<std::string>& values) {
    return [&values](const CJsonNode& node) {
        node.eachEntry([&](const CJsonNode& entry) { values.push_back(entry.text()); });
    };
}

auto toRange(SRange& range) {
    return [&range](const CJsonNode& node) {
        node.requireLength(2, "[minimum, maximum]");
        std::vector<int> ends;
        node.eachEntry([&](const CJsonNode& entry) { ends.push_back(entry.integer(LowestInt, HighestInt)); });
        range = {ends[0], ends[1]};
        if (range.minimum > range.maximum)
            node.refuse("expected a minimum that is not above the maximum");
    };
}

auto toWord(std::string& value, Words words) {
    return [&value, words](const CJsonNode& node) {
        value = node.text();
        if (!holds(words, value))
            node.refuse("expected one of " + listed(words));
    };
}

using Parameters = std::vector<std::pair<std::string, std::string>>;

auto toParameters(Parameters& parameters) {
    return [&parameters](const CJsonNode& node) {
        node.eachEntry([&](const CJsonNode& entry) {
            entry.requireLength(2, "[name, value]");
            std::vector<std::string> pair;
            entry.eachEntry([&](const CJsonNode& text) { pair.push_back(text.text()); });
            parameters.emplace_back(pair[0], pair[1]);
        });
    };
}

// An object whose names are decimal numbers.
template <class Read>
void eachNumber(const CJsonNode& node, int minimum, const Read& read) {
    node.eachMember([&](const std::string& name, const CJsonNode& member) {
        const auto number = operations::ReadWholeNumber<int>(name);
        if (!number || *number < minimum || std::to_string(*number) != name)
            member.refuse("expected a decimal number of at least " + std::to_string(minimum) +
                          " as the name");
        read(*number, member);
    });
}

// An object whose names are among the words.
template <class Read>
void eachWord(const CJsonNode& node, Words words, const Read& read) {
    node.eachMember([&](const std::string& name, const CJsonNode& member) {
        if (!holds(words, name))
            member.refuse("unknown member; expected one of " + listed(words));
        read(name, member);
    });
}

auto toTextsByCodec(std::map<std::string, std::string>& texts) {
    return [&texts](const CJsonNode& node) {
        eachWord(node, CodecNames,
                 [&](const std::string& codec, const CJsonNode& text) { toDecimalText(texts[codec])(text); });
    };
}

void readPort(const CJsonNode& node, std::string& port) {
    port = node.text();
    const auto number = operations::ReadWholeNumber<int>(port);
    if (!port.empty() && (!number || *number < 1 || *number > 65535))
        node.refuse("expected a port as a text, or an empty text");
}

void readStreamUrl(const CJsonNode& node, SStreamUrl& url) {
    node.object({{"scheme", SMember::Required, toFilledText(url.scheme)},
                 {"port", SMember::Optional, [&](const CJsonNode& port) { readPort(port, url.port); }},
                 {"path", SMember::Required, toText(url.path)},
                 {"parameters", SMember::Optional, toParameters(url.parameters)}});
}

auto toStreamUrls(StreamUrlTable& table) {
    return [&table](const CJsonNode& node) {
        eachNumber(node, 0, [&](int stream, const CJsonNode& codecs) {
            eachWord(codecs, UrlCodecNames, [&](const std::string& codec, const CJsonNode& variants) {
                eachNumber(variants, 0, [&](int variant, const CJsonNode& url) {
                    readStreamUrl(url, table[stream][codec][variant]);
                });
            });
        });
    };
}

auto toRequest(SVornUrl& url) {
    return [&url](const CJsonNode& node) {
        url.protocol = "http";
        url.port = UsualPort;
        node.object({{"path", SMember::Required,
                      [&](const CJsonNode& path) {
                          url.path = path.text();
                          if (url.path.empty() || url.path.front() != '/')
                              path.refuse("expected a path that begins with \"/\"");
                      }},
                     {"parameters", SMember::Optional, toParameters(url.parameters)},
                     {"key", SMember::Required, toFilledText(url.replyKey)}});
    };
}

SQueryDevice emptyQuery() {
    SQueryDevice query;
    query.modelNumber.delimiters = query.serialNumber.delimiters = ReplyDelimiters;
    query.modelNumber.authScheme = query.serialNumber.authScheme = AnyAuthScheme;
    return query;
}

void readPtz(const CJsonNode& node, SPtzModel& ptz) {
    node.object({{"position", SMember::Optional,
                  [&](const CJsonNode& position) {
                      position.object({{"pan", SMember::Optional, toRange(ptz.panPosition)},
                                       {"tilt", SMember::Optional, toRange(ptz.tiltPosition)},
                                       {"zoom", SMember::Optional, toRange(ptz.zoomPosition)}});
                  }},
                 {"home", SMember::Optional,
                  [&](const CJsonNode& home) {
                      home.object({{"pan", SMember::Optional, toInteger(ptz.panHome)},
                                   {"tilt", SMember::Optional, toInteger(ptz.tiltHome)},
                                   {"zoom", SMember::Optional, toInteger(ptz.zoomHome)}});
                  }},
                 {"speed", SMember::Optional,
                  [&](const CJsonNode& speed) {
                      speed.object({{"pan", SMember::Optional, toRange(ptz.panSpeed)},
                                    {"tilt", SMember::Optional, toRange(ptz.tiltSpeed)},
                                    {"zoom", SMember::Optional, toRange(ptz.zoomSpeed)},
                                    {"focus", SMember::Optional, toRange(ptz.focusSpeed)}});
                  }},
                 {"presetOffset", SMember::Optional, toInteger(ptz.presetOffset)},
                 {"patternOffset", SMember::Optional, toInteger(ptz.patternOffset)},
                 {"patternCount", SMember::Optional, toOptionalDecimalText(ptz.patternCount)}});
}

auto toAdjustment(SAdjustment& adjustment) {
    return [&adjustment](const CJsonNode& node) {
        node.object({{"range", SMember::Required,
                      [&](const CJsonNode& range) {
                          range.requireLength(2, "[minimum, maximum], two decimal numbers as texts");
                          range.eachEntry([&](const CJsonNode& end) {
                              toDecimalText(adjustment.range.emplace_back())(end);
                          });
                      }},
                     {"default", SMember::Optional, toDecimalText(adjustment.defaultValue)}});
    };
}

auto toAdjustment(SWhiteBalanceModel& adjustment) {
    return [&adjustment](const CJsonNode& node) {
        node.object({{"values", SMember::Required, toTexts(adjustment.values)},
                     {"default", SMember::Optional, toText(adjustment.defaultValue)}});
    };
}

auto toAdjustment(SwitchValues& adjustment) {
    return toTexts(adjustment);
}

auto toAdjustment(SwitchKind& adjustment) {
    return toWord(adjustment, DynamicRanges);
}

void readAdjustments(const std::string& area, const CJsonNode& node, SModelInfo& model) {
    std::vector<SMember> members;
    const auto add = [&](const char* ofArea, const char* name, auto& adjustment) {
        if (area == ofArea)
            members.push_back({name, SMember::Optional, toAdjustment(adjustment)});
    };
#define VORN_ADJUSTMENT(AREA, NAME, FORM, MEMBER, RECORD) add(#AREA, #MEMBER, model.MEMBER);
#include "host/adjustments.def"
    node.object(members);
}

void readStreams(const CJsonNode& node, SModelInfo& model) {
    node.eachMember([&](const std::string& name, const CJsonNode& count) {
        const bool ofCamera = name == CameraStreams;
        if (!ofCamera && !holds(CodecNames, name))
            count.refuse("unknown member; expected one of " + listed(CodecNames) + ", " + CameraStreams);
        const int streams = count.integer(0, HighestInt);
        if (ofCamera)
            model.cameraStreams = streams;
        else
            model.codecStreams[name] = streams;
    });
}

void readAudio(const CJsonNode& node, SModelInfo& model) {
    node.object(
        {{"bitRates", SMember::Optional,
          [&](const CJsonNode& rates) {
              eachNumber(rates, 0, [&](int number, const CJsonNode& rate) {
                  toDecimalText(model.audioBitRates[number])(rate);
              });
          }},
         {"urlBase", SMember::Optional, toInteger(model.audioUrlBase, LowestInt, HighestInt - MostInputs)},
         {"urls", SMember::Optional, toStreamUrls(model.audioUrls)}});
}

SModelInfo readModel(const CJsonNode& node) {
    SModelInfo model;
    node.object(
        {{"number", SMember::Required, toFilledText(model.number)},
         {"family", SMember::Required, toFilledText(model.family)},
         {"label", SMember::Optional, toText(model.label)},
         {"videoInputs", SMember::Optional, toInteger(model.videoInputs, 0, MostInputs)},
         {"audioInputs", SMember::Optional, toInteger(model.audioInputs, 0, MostInputs)},
         {"indexBase", SMember::Optional,
          [&](const CJsonNode& bases) {
              eachNumber(bases, 0, [&](int property, const CJsonNode& base) {
                  toInteger(model.indexBase[property], 0, MostInputs)(base);
              });
          }},
         {"streams", SMember::Optional, [&](const CJsonNode& streams) { readStreams(streams, model); }},
         {"defaults", SMember::Optional,
          [&](const CJsonNode& defaults) {
              defaults.object({{"quality", SMember::Optional, toTextsByCodec(model.defaultQuality)},
                               {"bitRate", SMember::Optional, toTextsByCodec(model.defaultBitRate)}});
          }},
         {"video", SMember::Optional,
          [&](const CJsonNode& video) {
              video.object({{"urls", SMember::Optional, toStreamUrls(model.videoUrls)}});
          }},
         {"audio", SMember::Optional, [&](const CJsonNode& audio) { readAudio(audio, model); }},
         {"ptz", SMember::Optional,
          [&](const CJsonNode& ptz) {
              model.ptz = SPtzModel();
              readPtz(ptz, *model.ptz);
          }},
         {"image", SMember::Optional, [&](const CJsonNode& image) { readAdjustments("Vpa", image, model); }},
         {"lens", SMember::Optional, [&](const CJsonNode& lens) { readAdjustments("Lens", lens, model); }}});
    return model;
}

// What has been read of a list so far.
struct SModelListParts {
    SVornUrl authenticationTest;
    std::vector<SFamily> families;
    std::map<std::string, SQueryDevice> queries;
    CVornModelList::ModelMap models;
};

void readFamily(const CJsonNode& node, SModelListParts& list) {
    SFamily family;
    SQueryDevice query = emptyQuery();
    node.object({{"name", SMember::Required, toFilledText(family.name)},
                 {"user", SMember::Optional, toText(family.user)},
                 {"password", SMember::Optional, toText(family.password)},
                 {"digestOnly", SMember::Optional,
                  [&](const CJsonNode& digestOnly) { family.digestOnly = digestOnly.boolean(); }},
                 {"modelNumber", SMember::Required, toRequest(query.modelNumber.url)},
                 {"serialNumber", SMember::Required, toRequest(query.serialNumber.url)}});
    if (!list.queries.emplace(family.name, std::move(query)).second)
        node.refuse("the family \"" + family.name + "\" stands twice");
    list.families.push_back(std::move(family));
}

void readModelOfList(const CJsonNode& node, SModelListParts& list) {
    SModelInfo model = readModel(node);
    if (list.queries.count(model.family) == 0)
        node.refuse("there is no family \"" + model.family + "\"");
    const std::string number = model.number;
    if (!list.models.emplace(number, std::move(model)).second)
        node.refuse("the model \"" + number + "\" stands twice");
}

SModelListParts readList(const CJsonNode& root) {
    SModelListParts list;
    root.object({{"authenticationTest", SMember::Required, toRequest(list.authenticationTest)},
                 {"families", SMember::Required,
                  [&](const CJsonNode& families) {
                      families.eachEntry([&](const CJsonNode& family) { readFamily(family, list); });
                  }},
                 {"models", SMember::Required, [&](const CJsonNode& models) {
                      models.eachEntry([&](const CJsonNode& model) { readModelOfList(model, list); });
                  }}});
    return list;
}

struct SFileCloser {
    void operator()(std::FILE* file) const { std::fclose(file); }
};

std::string readFile(const std::string& name) {
    const std::unique_ptr<std::FILE, SFileCloser> file(std::fopen(name.c_str(), "rb"));
    std::string text;
    char piece[16 * 1024];
    for (std::size_t size = 1; file && size > 0 && text.size() <= LargestFile;) {
        size = std::fread(piece, 1, sizeof piece, file.get());
        text.append(piece, size);
    }
    if (!file || std::ferror(file.get()) != 0)
        throw CModelListError(name + ": cannot be read: " + std::generic_category().message(errno));
    if (text.size() > LargestFile)
        throw CModelListError(name + ": is larger than " + std::to_string(LargestFileMebibytes) + " MiB");
    return text;
}

} // namespace

boost::shared_ptr<CVornModelList> LoadModelList(const std::string& file) {
    const std::string text = readFile(file);
    try {
        const nlohmann::json parsed = ParseJson(text);
        SModelListParts list = readList(CJsonNode(parsed));
        return boost::make_shared<CVornModelList>(std::move(list.authenticationTest),
                                                  std::move(list.families), std::move(list.queries),
                                                  std::move(list.models));
    } catch (const CJsonRefusal& refusal) {
        throw CModelListError(file + ": " + refusal.what());
    }
}

} // namespace corvane::refhost
