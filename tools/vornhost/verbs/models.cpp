#include "site/base/standard_streams.h"
#include "site/base/terminal_text.h"
#include "site/calls/answer_text.h"
#include "site/session/loaded_plugin.h"
#include "tools/vornhost/console/table.h"
#include "tools/vornhost/names.h"
#include "tools/vornhost/verbs/verb.h"

#include <CLI/CLI.hpp>

namespace corvane::vornhost {
namespace {

std::string StreamsText(const SModelInfo& model) {
    Texts texts;
    for (const auto& [codec, streams] : model.codecStreams)
        texts.push_back(codec + " " + std::to_string(streams));
    return Join(texts, ", ");
}

bool IsDigestOnly(const CVornModelList& models, const SModelInfo& model) {
    const auto* const family = models.findFamily(model.family);
    return family && family->digestOnly;
}

std::string FeaturesText(const SModelInfo& model, bool isDigestOnly) {
    Texts texts;
    if (model.ptz)
        texts.emplace_back("PTZ");
    if (IsOffered(model.focus))
        texts.emplace_back("focus");
    if (IsOffered(model.dynamicRange))
        texts.emplace_back("wideDynamicRange");
    if (isDigestOnly)
        texts.emplace_back("Digest only");
    return Join(texts, ", ");
}

ordered_json ModelJson(const SModelInfo& model, bool isDigestOnly) {
    return {{"number", model.number},
            {"family", model.family},
            {"label", model.label},
            {"videoInputs", model.videoInputs},
            {"audioInputs", model.audioInputs},
            {"streams", model.codecStreams},
            {"ptz", model.ptz.has_value()},
            {"focus", IsOffered(model.focus)},
            {"wideDynamicRange", IsOffered(model.dynamicRange)},
            {"digestOnly", isDigestOnly}};
}

class CModels : public IVerb {
public:
    void declare(CLI::App& command) override {
        command.footer("Example: vornhost models --models my-models.json");
    }

    ExitStatus run(const SOptions& options) override {
        const auto models = OpenModelList(options);
        CTable table({"MODEL", "FAMILY", "LABEL", "VIDEO", "AUDIO", "STREAMS", "FEATURES"});
        for (const auto& [number, model] : models->getModels()) {
            const bool isDigestOnly = IsDigestOnly(*models, model);
            if (options.json)
                WriteOutput(JsonLine(ModelJson(model, isDigestOnly)));
            else
                table.addRow({number, model.family, model.label, std::to_string(model.videoInputs),
                              std::to_string(model.audioInputs), StreamsText(model),
                              FeaturesText(model, isDigestOnly)});
        }
        if (!options.json)
            WriteOutput(table.headingLines(ColourWanted()) + table.rowLines());
        return ExitStatus::Success;
    }
};

} // namespace

std::unique_ptr<IVerb> MakeModelsVerb() {
    return std::make_unique<CModels>();
}

} // namespace corvane::vornhost
