#include "refhost/models/model_list_file.h"

#include "host/stream_id.h"
#include "refhost/base/address.h"
#include "refhost/http/device_requests.h"
#include "refhost/models/json_values.h"

#include <boost/make_shared.hpp>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <iterator>
#include <memory>
#include <utility>

namespace corvane::refhost {
namespace {

using namespace device_handler::v1_0;
using SMember = CJsonNode::SMember;

constexpr std::size_t LargestFileMebibytes = 8;
constexpr std::size_t LargestFile = LargestFileMebibytes << 20;
constexpr int MostInputs = 1024;

constexpr Words CodecNames = {VideoCodecNames[0].name, VideoCodecNames[1].name, VideoCodecNames[2].name};
constexpr Words UrlCodecNames = {VideoCodecNames[0].urlName, VideoCodecNames[1].urlName,
                                 VideoCodecNames[2].urlName, UrlOfNoCodec};
static_assert(std::size(VideoCodecNames) == 3);
constexpr Words DynamicRanges = {"Generic", "Conditional", "AdaptiveBlackStretchOnly"};
constexpr const char* CameraStreams = "camera";

auto ToTextsByCodec(std::map<std::string, std::string>& texts) {
    return [&texts](const CJsonNode& node) {
        EachWord(node, CodecNames,
                 [&](const std::string& codec, const CJsonNode& text) { ToDecimalText(texts[codec])(text); });
    };
}

void ReadPort(const CJsonNode& node, std::string& port) {
    port = node.text();
    const auto number = operations::ReadWholeNumber<int>(port);
    if (!port.empty() && (!number || *number < 1 || *number > 65535))
        node.refuse("expected a port as a text, or an empty text");
}

void ReadStreamUrl(const CJsonNode& node, SStreamUrl& url) {
    node.object({{"scheme", SMember::Required, ToFilledText(url.scheme)},
                 {"port", SMember::Optional, [&](const CJsonNode& port) { ReadPort(port, url.port); }},
                 {"path", SMember::Required, ToText(url.path)},
                 {"parameters", SMember::Optional, ToParameters(url.parameters)}});
}

auto ToStreamUrls(StreamUrlTable& table) {
    return [&table](const CJsonNode& node) {
        EachNumber(node, 0, [&](int stream, const CJsonNode& codecs) {
            EachWord(codecs, UrlCodecNames, [&](const std::string& codec, const CJsonNode& variants) {
                EachNumber(variants, 0, [&](int variant, const CJsonNode& url) {
                    ReadStreamUrl(url, table[stream][codec][variant]);
                });
            });
        });
    };
}

auto ToRequest(SVornUrl& url) {
    return [&url](const CJsonNode& node) {
        url.protocol = "http";
        url.port = UsualPort;
        node.object({{"path", SMember::Required,
                      [&](const CJsonNode& path) {
                          url.path = path.text();
                          if (url.path.empty() || url.path.front() != '/')
                              path.refuse("expected a path that begins with \"/\"");
                      }},
                     {"parameters", SMember::Optional, ToParameters(url.parameters)},
                     {"key", SMember::Required, ToFilledText(url.replyKey)}});
    };
}

SQueryDevice EmptyQuery() {
    SQueryDevice query;
    query.modelNumber.delimiters = query.serialNumber.delimiters = ReplyDelimiters;
    query.modelNumber.authScheme = query.serialNumber.authScheme = AnyAuthScheme;
    return query;
}

void ReadPtz(const CJsonNode& node, SPtzModel& ptz) {
    node.object({{"position", SMember::Optional,
                  [&](const CJsonNode& position) {
                      position.object({{"pan", SMember::Optional, ToRange(ptz.panPosition)},
                                       {"tilt", SMember::Optional, ToRange(ptz.tiltPosition)},
                                       {"zoom", SMember::Optional, ToRange(ptz.zoomPosition)}});
                  }},
                 {"home", SMember::Optional,
                  [&](const CJsonNode& home) {
                      home.object({{"pan", SMember::Optional, ToInteger(ptz.panHome)},
                                   {"tilt", SMember::Optional, ToInteger(ptz.tiltHome)},
                                   {"zoom", SMember::Optional, ToInteger(ptz.zoomHome)}});
                  }},
                 {"speed", SMember::Optional,
                  [&](const CJsonNode& speed) {
                      speed.object({{"pan", SMember::Optional, ToRange(ptz.panSpeed)},
                                    {"tilt", SMember::Optional, ToRange(ptz.tiltSpeed)},
                                    {"zoom", SMember::Optional, ToRange(ptz.zoomSpeed)},
                                    {"focus", SMember::Optional, ToRange(ptz.focusSpeed)}});
                  }},
                 {"presetOffset", SMember::Optional, ToInteger(ptz.presetOffset)},
                 {"patternOffset", SMember::Optional, ToInteger(ptz.patternOffset)},
                 {"patternCount", SMember::Optional, ToOptionalDecimalText(ptz.patternCount)}});
}

auto ToAdjustment(SAdjustment& adjustment) {
    return [&adjustment](const CJsonNode& node) {
        node.object({{"range", SMember::Required,
                      [&](const CJsonNode& range) {
                          range.requireLength(2, "[minimum, maximum], two decimal numbers as texts");
                          range.eachEntry([&](const CJsonNode& end) {
                              ToDecimalText(adjustment.range.emplace_back())(end);
                          });
                      }},
                     {"default", SMember::Optional, ToDecimalText(adjustment.defaultValue)}});
    };
}

auto ToAdjustment(SWhiteBalanceModel& adjustment) {
    return [&adjustment](const CJsonNode& node) {
        node.object({{"values", SMember::Required, ToTexts(adjustment.values)},
                     {"default", SMember::Optional, ToText(adjustment.defaultValue)}});
    };
}

auto ToAdjustment(SwitchValues& adjustment) {
    return ToTexts(adjustment);
}

auto ToAdjustment(SwitchKind& adjustment) {
    return ToWord(adjustment, DynamicRanges);
}

void ReadAdjustments(const std::string& area, const CJsonNode& node, SModelInfo& model) {
    std::vector<SMember> members;
    const auto add = [&](const char* ofArea, const char* name, auto& adjustment) {
        if (area == ofArea)
            members.push_back({name, SMember::Optional, ToAdjustment(adjustment)});
    };
#define VORN_ADJUSTMENT(AREA, NAME, FORM, MEMBER, RECORD) add(#AREA, #MEMBER, model.MEMBER);
#include "host/adjustments.def"
    node.object(members);
}

void ReadStreams(const CJsonNode& node, SModelInfo& model) {
    node.eachMember([&](const std::string& name, const CJsonNode& count) {
        const bool ofCamera = name == CameraStreams;
        if (!ofCamera && !Holds(CodecNames, name))
            count.refuse("unknown member; expected one of " + Listed(CodecNames) + ", " + CameraStreams);
        const int streams = count.integer(0, HighestInt);
        if (ofCamera)
            model.cameraStreams = streams;
        else
            model.codecStreams[name] = streams;
    });
}

void ReadAudio(const CJsonNode& node, SModelInfo& model) {
    node.object(
        {{"bitRates", SMember::Optional,
          [&](const CJsonNode& rates) {
              EachNumber(rates, 0, [&](int number, const CJsonNode& rate) {
                  ToDecimalText(model.audioBitRates[number])(rate);
              });
          }},
         {"urlBase", SMember::Optional, ToInteger(model.audioUrlBase, LowestInt, HighestInt - MostInputs)},
         {"urls", SMember::Optional, ToStreamUrls(model.audioUrls)}});
}

SModelInfo ReadModel(const CJsonNode& node) {
    SModelInfo model;
    node.object(
        {{"number", SMember::Required, ToFilledText(model.number)},
         {"family", SMember::Required, ToFilledText(model.family)},
         {"label", SMember::Optional, ToText(model.label)},
         {"videoInputs", SMember::Optional, ToInteger(model.videoInputs, 0, MostInputs)},
         {"audioInputs", SMember::Optional, ToInteger(model.audioInputs, 0, MostInputs)},
         {"indexBase", SMember::Optional,
          [&](const CJsonNode& bases) {
              EachNumber(bases, 0, [&](int property, const CJsonNode& base) {
                  ToInteger(model.indexBase[property], 0, MostInputs)(base);
              });
          }},
         {"streams", SMember::Optional, [&](const CJsonNode& streams) { ReadStreams(streams, model); }},
         {"defaults", SMember::Optional,
          [&](const CJsonNode& defaults) {
              defaults.object({{"quality", SMember::Optional, ToTextsByCodec(model.defaultQuality)},
                               {"bitRate", SMember::Optional, ToTextsByCodec(model.defaultBitRate)}});
          }},
         {"video", SMember::Optional,
          [&](const CJsonNode& video) {
              video.object({{"urls", SMember::Optional, ToStreamUrls(model.videoUrls)}});
          }},
         {"audio", SMember::Optional, [&](const CJsonNode& audio) { ReadAudio(audio, model); }},
         {"ptz", SMember::Optional,
          [&](const CJsonNode& ptz) {
              model.ptz = SPtzModel();
              ReadPtz(ptz, *model.ptz);
          }},
         {"image", SMember::Optional, [&](const CJsonNode& image) { ReadAdjustments("Vpa", image, model); }},
         {"lens", SMember::Optional, [&](const CJsonNode& lens) { ReadAdjustments("Lens", lens, model); }}});
    return model;
}

// What has been read of a list so far.
struct SModelListParts {
    SVornUrl authenticationTest;
    std::vector<SFamily> families;
    std::map<std::string, SQueryDevice> queries;
    CVornModelList::ModelMap models;
};

void ReadFamily(const CJsonNode& node, SModelListParts& list) {
    SFamily family;
    SQueryDevice query = EmptyQuery();
    node.object({{"name", SMember::Required, ToFilledText(family.name)},
                 {"user", SMember::Optional, ToText(family.user)},
                 {"password", SMember::Optional, ToText(family.password)},
                 {"digestOnly", SMember::Optional,
                  [&](const CJsonNode& digestOnly) { family.digestOnly = digestOnly.boolean(); }},
                 {"modelNumber", SMember::Required, ToRequest(query.modelNumber.url)},
                 {"serialNumber", SMember::Required, ToRequest(query.serialNumber.url)}});
    if (!list.queries.emplace(family.name, std::move(query)).second)
        node.refuse("the family \"" + family.name + "\" stands twice");
    list.families.push_back(std::move(family));
}

void ReadModelOfList(const CJsonNode& node, SModelListParts& list) {
    SModelInfo model = ReadModel(node);
    if (list.queries.count(model.family) == 0)
        node.refuse("there is no family \"" + model.family + "\"");
    const std::string number = model.number;
    if (!list.models.emplace(number, std::move(model)).second)
        node.refuse("the model \"" + number + "\" stands twice");
}

SModelListParts ReadList(const CJsonNode& root) {
    SModelListParts list;
    root.object({{"authenticationTest", SMember::Required, ToRequest(list.authenticationTest)},
                 {"families", SMember::Required,
                  [&](const CJsonNode& families) {
                      families.eachEntry([&](const CJsonNode& family) { ReadFamily(family, list); });
                  }},
                 {"models", SMember::Required, [&](const CJsonNode& models) {
                      models.eachEntry([&](const CJsonNode& model) { ReadModelOfList(model, list); });
                  }}});
    return list;
}

struct SFileCloser {
    void operator()(std::FILE* file) const { std::fclose(file); }
};

std::string ReadFile(const std::string& name) {
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
    const std::string text = ReadFile(file);
    try {
        const nlohmann::json parsed = ParseJson(text);
        SModelListParts list = ReadList(CJsonNode(parsed));
        return boost::make_shared<CVornModelList>(std::move(list.authenticationTest),
                                                  std::move(list.families), std::move(list.queries),
                                                  std::move(list.models));
    } catch (const CJsonRefusal& refusal) {
        throw CModelListError(file + ": " + refusal.what());
    }
}

} // namespace corvane::refhost
