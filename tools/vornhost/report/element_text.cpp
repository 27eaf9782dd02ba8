// An element's description for eyes, laid out as GStreamer's own tools do it.

#include "site/base/terminal_text.h"
#include "tools/vornhost/names.h"
#include "tools/vornhost/report/element_description.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <utility>
#include <vector>

namespace corvane::vornhost {
namespace {

using Labels = std::vector<std::pair<const char*, const char*>>; // key, label

constexpr std::size_t LabelWidth = 25;
const std::string Margin(24, ' '); // of what is told below a property's name

const Labels FactoryLabels = {
    {"longName", "Long-name"}, {"class", "Klass"}, {"description", "Description"}, {"author", "Author"}};
const Labels PluginLabels = {
    {"name", "Name"},        {"description", "Description"},    {"version", "Version"},
    {"licence", "License"},  {"sourceModule", "Source module"}, {"package", "Binary package"},
    {"origin", "Origin URL"}};

std::string Labelled(const char* label, const std::string& text) {
    return "  " + PadTo(label, LabelWidth) + text + "\n";
}

std::string LabelledTexts(const ordered_json& facts, const Labels& labels) {
    std::string text;
    for (const auto& [key, label] : labels)
        text += Labelled(label, facts.at(key).get<std::string>());
    return text;
}

std::string RankText(int rank) {
    static constexpr std::pair<int, const char*> Names[] = {
        {0, "none"}, {64, "marginal"}, {128, "secondary"}, {256, "primary"}};
    const auto* const named = std::find_if(std::begin(Names), std::end(Names),
                                           [rank](const auto& name) { return name.first == rank; });
    const std::string number = "(" + std::to_string(rank) + ")";
    return named == std::end(Names) ? number : std::string(named->second) + " " + number;
}

std::string HierarchyText(const ordered_json& names) {
    std::string text;
    std::size_t depth = 0;
    for (const ordered_json& name : names) {
        text += depth == 0 ? "" : std::string(6 * depth - 5, ' ') + "+----";
        text += name.get<std::string>() + "\n";
        ++depth;
    }
    return text;
}

std::string PadTemplateText(const ordered_json& pad) {
    std::string presence = pad.at("presence");
    presence[0] = static_cast<char>(presence[0] - 'a' + 'A');
    return std::string(pad.at("direction") == "source" ? "  SRC" : "  SINK") + " template: '" +
           pad.at("name").get<std::string>() + "'\n    Availability: " + presence +
           "\n    Capabilities:\n      " + pad.at("caps").get<std::string>() + "\n";
}

std::string DefaultText(const ordered_json& property) {
    const auto value = property.find("default");
    if (value == property.end())
        return "";
    std::string text = " Default: " + value->dump();
    const auto values = property.find("values");
    if (values == property.end())
        return text;
    for (const ordered_json& known : *values)
        if (known.at("value") == *value)
            text += ", " + known.at("nick").dump();
    return text;
}

std::string PropertyText(const ordered_json& property, std::size_t nameWidth) {
    const ordered_json& flags = property.at("flags");
    std::string text =
        "  " + PadTo(property.at("name"), nameWidth) + ": " + property.at("blurb").get<std::string>() + "\n";
    text += Margin + "nick: " + property.at("nick").get<std::string>() + "\n";
    text += Margin + "flags: " + Join(flags.get<Texts>(), ", ") + "\n";
    text += Margin + property.at("type").get<std::string>();
    if (const auto range = property.find("range"); range != property.end())
        text += ". Range: " + range->at("from").dump() + " - " + range->at("to").dump();
    else if (!property.contains("values"))
        text += ".";
    text += DefaultText(property) + "\n";
    if (const auto values = property.find("values"); values != property.end())
        for (const ordered_json& value : *values)
            text += Margin + "   (" + value.at("value").dump() + "): " + PadTo(value.at("nick"), 16) + " - " +
                    value.at("name").get<std::string>() + "\n";
    return text;
}

} // namespace

std::string ElementText(const ordered_json& description) {
    std::string text = "Factory Details:\n" +
                       Labelled("Rank", RankText(description.at("factory").at("rank"))) +
                       LabelledTexts(description.at("factory"), FactoryLabels);
    text += "\nPlugin Details:\n" + LabelledTexts(description.at("plugin"), PluginLabels);
    text += "\n" + HierarchyText(description.at("hierarchy"));
    text += "\nPad Templates:\n";
    for (const ordered_json& pad : description.at("padTemplates"))
        text += PadTemplateText(pad);
    text += "\nElement Properties:\n";
    std::size_t nameWidth = 0;
    for (const ordered_json& property : description.at("properties"))
        nameWidth = std::max(nameWidth, property.at("name").get_ref<const std::string&>().size());
    for (const ordered_json& property : description.at("properties"))
        text += "\n" + PropertyText(property, nameWidth);
    return text;
}

} // namespace corvane::vornhost
