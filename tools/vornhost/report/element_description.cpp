#include "tools/vornhost/report/element_description.h"

#include "host/gst_context.h"

#include <nlohmann/json.hpp>

#include <gst/gst.h>

#include <algorithm>
#include <vector>

namespace corvane::vornhost {
namespace {

std::string TextOrEmpty(const char* text) {
    return text ? text : "";
}

ordered_json DescribeFactory(GstElementFactory* factory) {
    const auto metadata = [factory](const char* key) {
        return TextOrEmpty(gst_element_factory_get_metadata(factory, key));
    };
    return {{"name", GST_OBJECT_NAME(factory)},
            {"rank", gst_plugin_feature_get_rank(GST_PLUGIN_FEATURE(factory))},
            {"longName", metadata(GST_ELEMENT_METADATA_LONGNAME)},
            {"class", metadata(GST_ELEMENT_METADATA_KLASS)},
            {"description", metadata(GST_ELEMENT_METADATA_DESCRIPTION)},
            {"author", metadata(GST_ELEMENT_METADATA_AUTHOR)}};
}

ordered_json DescribePlugin(GstElementFactory* factory) {
    const CGstRef<GstPlugin> plugin(gst_plugin_feature_get_plugin(GST_PLUGIN_FEATURE(factory)));
    if (!plugin)
        return nullptr;
    return {{"name", TextOrEmpty(gst_plugin_get_name(plugin.get()))},
            {"description", TextOrEmpty(gst_plugin_get_description(plugin.get()))},
            {"version", TextOrEmpty(gst_plugin_get_version(plugin.get()))},
            {"licence", TextOrEmpty(gst_plugin_get_license(plugin.get()))},
            {"sourceModule", TextOrEmpty(gst_plugin_get_source(plugin.get()))},
            {"package", TextOrEmpty(gst_plugin_get_package(plugin.get()))},
            {"origin", TextOrEmpty(gst_plugin_get_origin(plugin.get()))}};
}

// From the root down.
ordered_json DescribeHierarchy(GType type) {
    Texts names;
    for (; type != 0; type = g_type_parent(type))
        names.insert(names.begin(), g_type_name(type));
    return names;
}

ordered_json DescribePadTemplates(GstElementFactory* factory) {
    ordered_json templates = ordered_json::array();
    for (const GList* entry = gst_element_factory_get_static_pad_templates(factory); entry;
         entry = entry->next) {
        const auto* const pad = static_cast<const GstStaticPadTemplate*>(entry->data);
        templates.push_back({{"name", pad->name_template},
                             {"direction", pad->direction == GST_PAD_SRC ? "source" : "sink"},
                             {"presence", pad->presence == GST_PAD_ALWAYS      ? "always"
                                          : pad->presence == GST_PAD_SOMETIMES ? "sometimes"
                                                                               : "on request"},
                             {"caps", TextOrEmpty(pad->static_caps.string)}});
    }
    return templates;
}

ordered_json EnumValues(GType type) {
    ordered_json values = ordered_json::array();
    auto* const enumeration = static_cast<GEnumClass*>(g_type_class_ref(type));
    for (guint i = 0; i < enumeration->n_values; ++i) {
        const GEnumValue& value = enumeration->values[i];
        values.push_back({{"value", value.value}, {"nick", value.value_nick}, {"name", value.value_name}});
    }
    g_type_class_unref(enumeration);
    return values;
}

// A number's type, and what it may be.
template <class NumberParam>
void DescribeNumber(ordered_json& json, const char* type, const GParamSpec* property) {
    const auto* const number = reinterpret_cast<const NumberParam*>(property);
    json["type"] = type;
    json["range"] = {{"from", number->minimum}, {"to", number->maximum}, {"step", 1}};
    json["default"] = number->default_value;
}

void DescribeType(ordered_json& json, const GParamSpec* property) {
    if (G_IS_PARAM_SPEC_INT(property)) {
        DescribeNumber<GParamSpecInt>(json, "Integer", property);
    } else if (G_IS_PARAM_SPEC_UINT(property)) {
        DescribeNumber<GParamSpecUInt>(json, "Unsigned Integer", property);
    } else if (G_IS_PARAM_SPEC_INT64(property)) {
        DescribeNumber<GParamSpecInt64>(json, "Integer64", property);
    } else if (G_IS_PARAM_SPEC_UINT64(property)) {
        DescribeNumber<GParamSpecUInt64>(json, "Unsigned Integer64", property);
    } else if (G_IS_PARAM_SPEC_BOOLEAN(property)) {
        json["type"] = "Boolean";
        json["default"] = G_PARAM_SPEC_BOOLEAN(property)->default_value != FALSE;
    } else if (G_IS_PARAM_SPEC_STRING(property)) {
        const char* const text = G_PARAM_SPEC_STRING(property)->default_value;
        json["type"] = "String";
        json["default"] = text ? ordered_json(text) : ordered_json();
    } else if (G_IS_PARAM_SPEC_ENUM(property)) {
        json["type"] = std::string("Enum \"") + g_type_name(property->value_type) + "\"";
        json["values"] = EnumValues(property->value_type);
        json["default"] = G_PARAM_SPEC_ENUM(property)->default_value;
    } else {
        json["type"] = std::string("Object of type \"") + g_type_name(property->value_type) + "\"";
    }
}

ordered_json DescribeProperty(GParamSpec* property) {
    ordered_json flags = ordered_json::array();
    if (property->flags & G_PARAM_READABLE)
        flags.push_back("readable");
    if (property->flags & G_PARAM_WRITABLE)
        flags.push_back("writable");
    ordered_json json{{"name", g_param_spec_get_name(property)},
                      {"nick", TextOrEmpty(g_param_spec_get_nick(property))},
                      {"blurb", TextOrEmpty(g_param_spec_get_blurb(property))},
                      {"owner", g_type_name(property->owner_type)},
                      {"flags", std::move(flags)}};
    DescribeType(json, property);
    return json;
}

// In the order in which the classes installed them, the element's own last.
ordered_json DescribeProperties(GObject* element) {
    guint count = 0;
    GParamSpec** const list = g_object_class_list_properties(G_OBJECT_GET_CLASS(element), &count);
    std::vector<GParamSpec*> properties(list, list + count);
    g_free(list);
    const auto depth = [](GParamSpec* property) { return g_type_depth(property->owner_type); };
    std::stable_sort(properties.begin(), properties.end(),
                     [&depth](GParamSpec* one, GParamSpec* other) { return depth(one) < depth(other); });
    ordered_json descriptions = ordered_json::array();
    for (GParamSpec* const property : properties)
        descriptions.push_back(DescribeProperty(property));
    return descriptions;
}

} // namespace

ordered_json DescribeElement(const std::string& name) {
    (void)vorn_gst::v1_0::CGstContext::Get();
    const CGstRef<GstElementFactory> factory(gst_element_factory_find(name.c_str()));
    if (!factory)
        return nullptr;
    const auto element = vorn_gst::v1_0::TakeFloating(gst_element_factory_create(factory.get(), nullptr));
    if (!element)
        return nullptr;
    return {{"factory", DescribeFactory(factory.get())},
            {"plugin", DescribePlugin(factory.get())},
            {"hierarchy", DescribeHierarchy(G_OBJECT_TYPE(element.get()))},
            {"padTemplates", DescribePadTemplates(factory.get())},
            {"properties", DescribeProperties(G_OBJECT(element.get()))}};
}

} // namespace corvane::vornhost
