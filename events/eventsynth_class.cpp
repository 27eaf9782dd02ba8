// The element's class: its registration, its properties, and how GStreamer's calls reach the instance.

#include "events/eventsynth_class.h"

#include <iterator>
#include <utility>

GST_DEBUG_CATEGORY(vorn_eventsynth_debug);

namespace corvane::vorn_event::v1_0 {
namespace {

constexpr const char* Name = "vorn_eventsynth";

struct SVornEventSynthClass {
    GstBaseSrcClass parent;
};

GstBaseSrcClass* parentClass = nullptr;

GstStaticPadTemplate sourceTemplate =
    GST_STATIC_PAD_TEMPLATE("src", GST_PAD_SRC, GST_PAD_ALWAYS, GST_STATIC_CAPS_ANY);

SVornEventSynth* Self(gpointer object) {
    return static_cast<SVornEventSynth*>(object);
}

GType DcStateType() {
    static const GEnumValue values[] = {
        {DCStateLow, "Low state", "Low"}, {DCStateHigh, "High state", "High"}, {0, nullptr, nullptr}};
    static const GType type = g_enum_register_static("VornEventSynthDCState", values);
    return type;
}

GType ModeType() {
    static const GEnumValue values[] = {{EventModeRegular, "Events are spaced evenly, in time", "Regular"},
                                        {EventModeRandom, "Events are sent at random intervals", "Random"},
                                        {0, nullptr, nullptr}};
    static const GType type = g_enum_register_static("VornEventSynthMode", values);
    return type;
}

GType DcActiveStateType() {
    static const GEnumValue values[] = {{DCActiveLow, "Active Low", "ActiveLow"},
                                        {DCActiveHigh, "Active High", "ActiveHigh"},
                                        {0, nullptr, nullptr}};
    static const GType type = g_enum_register_static("VornEventSynthDCActiveState", values);
    return type;
}

enum class PropertyKind { DCState, Mode, DCActiveState, Integer, String };

struct SProperty {
    guint id; // also the place in the table, from 1
    const char* name;
    const char* nick;
    const char* blurb;
    PropertyKind kind;
    gint defaultValue;
    std::atomic<gint> SVornEventSynth::*field; // of all kinds but String
};

constexpr SProperty Properties[] = {
    {1, "drycontact-state", "Dry Contact State", "State of Dry Contact", PropertyKind::DCState, DCStateLow,
     &SVornEventSynth::dcState},
    {2, "event-mode", "Event Mode", "How to determine event times", PropertyKind::Mode, EventModeRegular,
     &SVornEventSynth::eventMode},
    {3, "ping-period", "Ping Period", "Period of ping events (0 -> disabled)", PropertyKind::Integer, 3,
     &SVornEventSynth::pingPeriod},
    {4, "event-period", "Event Period", "Period (approx) of events (0 -> disabled)", PropertyKind::Integer, 6,
     &SVornEventSynth::eventPeriod},
    {5, "device-index", "Device Index",
     "Actual index of the device between device-index-base and max-device-index", PropertyKind::Integer, 0,
     &SVornEventSynth::deviceIndex},
    {6, "device-index-base", "Device Index Base", "Index base of the device (either 0 or 1)",
     PropertyKind::Integer, 0, &SVornEventSynth::deviceIndexBase},
    {7, "max-device-index", "Maximum Device Index", "Maximum number of device index available on the device",
     PropertyKind::Integer, 0, &SVornEventSynth::maxDeviceIndex},
    {UsernameProperty, "username", "Username Info", "Username information for login", PropertyKind::String, 0,
     nullptr},
    {PasswordProperty, "user-password", "Password Info", "User Password information for login",
     PropertyKind::String, 0, nullptr},
    {AddressProperty, "ipaddr", "IP address", "Encoder IP Address", PropertyKind::String, 0, nullptr},
    {11, "drycontact-activestate", "Dry Contact Active State", "ActiveState of Dry Contact",
     PropertyKind::DCActiveState, DCActiveLow, &SVornEventSynth::dcActiveState},
};

const SProperty* FindProperty(guint id) {
    return id >= 1 && id <= std::size(Properties) ? &Properties[id - 1] : nullptr;
}

GParamSpec* MakeParameter(const SProperty& property) {
    constexpr auto Flags = GParamFlags(G_PARAM_READWRITE | G_PARAM_STATIC_STRINGS);
    switch (property.kind) {
    case PropertyKind::String:
        return g_param_spec_string(property.name, property.nick, property.blurb, "", Flags);
    case PropertyKind::Integer:
        return g_param_spec_int(property.name, property.nick, property.blurb, 0, G_MAXINT,
                                property.defaultValue, Flags);
    default:
        break;
    }
    const GType type = property.kind == PropertyKind::DCState ? DcStateType()
                       : property.kind == PropertyKind::Mode  ? ModeType()
                                                              : DcActiveStateType();
    return g_param_spec_enum(property.name, property.nick, property.blurb, type, property.defaultValue,
                             Flags);
}

void SetProperty(GObject* object, guint id, const GValue* value, GParamSpec* parameter) {
    SVornEventSynth* const element = Self(object);
    GST_DEBUG_OBJECT(element, "setting property %d", static_cast<int>(id));
    const SProperty* const property = FindProperty(id);
    if (!property) {
        G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, parameter);
        return;
    }
    if (property->kind == PropertyKind::String)
        element->setString(id, g_value_get_string(value));
    else
        element->*property->field =
            property->kind == PropertyKind::Integer ? g_value_get_int(value) : g_value_get_enum(value);
    if (property->kind == PropertyKind::DCActiveState)
        element->dcState = g_value_get_enum(value);
    element->reschedule();
}

void GetProperty(GObject* object, guint id, GValue* value, GParamSpec* parameter) {
    SVornEventSynth* const element = Self(object);
    const SProperty* const property = FindProperty(id);
    if (!property)
        G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, parameter);
    else if (property->kind == PropertyKind::String)
        g_value_set_string(value, element->string(id).c_str());
    else if (property->kind == PropertyKind::Integer)
        g_value_set_int(value, element->*property->field);
    else if (property->kind == PropertyKind::DCState) // active or not, whatever the level
        g_value_set_enum(value, element->dcState == element->dcActiveState ? DCStateLow : DCStateHigh);
    else
        g_value_set_enum(value, element->*property->field);
}

GstStateChangeReturn ChangeState(GstElement* object, GstStateChange transition) {
    SVornEventSynth* const element = Self(object);
    if (GST_STATE_TRANSITION_NEXT(transition) == GST_STATE_PLAYING)
        element->play();
    const GstStateChangeReturn result = GST_ELEMENT_CLASS(parentClass)->change_state(object, transition);
    if (result == GST_STATE_CHANGE_FAILURE)
        return result;
    if (transition == GST_STATE_CHANGE_PLAYING_TO_PAUSED)
        element->pause();
    if (GST_STATE_TRANSITION_NEXT(transition) == GST_STATE_NULL)
        element->cleanup();
    return result;
}

gboolean ActivatePad(GstPad* pad, GstObject* object, GstPadMode mode, gboolean active) {
    if (mode != GST_PAD_MODE_PUSH)
        return FALSE;
    return active ? Self(object)->activate(pad) : Self(object)->deactivate(pad);
}

GstCaps* GetCaps(GstBaseSrc* source, GstCaps* filter) {
    GST_DEBUG_OBJECT(source, "Getting caps");
    return filter ? gst_caps_ref(filter) : gst_caps_new_any();
}

GstFlowReturn Create(GstBaseSrc* source, guint64 /*offset*/, guint /*size*/, GstBuffer** /*buffer*/) {
    GST_WARNING_OBJECT(source, "create() should not be called");
    return GST_FLOW_OK;
}

void Finalize(GObject* object) {
    Self(object)->finalize();
    G_OBJECT_CLASS(parentClass)->finalize(object);
}

void InitClass(gpointer type, gpointer) {
    parentClass = static_cast<GstBaseSrcClass*>(g_type_class_peek_parent(type));
    auto* const objectClass = static_cast<GObjectClass*>(type);
    objectClass->set_property = SetProperty;
    objectClass->get_property = GetProperty;
    objectClass->finalize = Finalize;
    for (const SProperty& property : Properties)
        g_object_class_install_property(objectClass, property.id, MakeParameter(property));

    auto* const elementClass = static_cast<GstElementClass*>(type);
    elementClass->change_state = ChangeState;
    gst_element_class_set_static_metadata(elementClass, "Vorn Handler Event Source", "Source/Event",
                                          "Creates an event stream", "Corvane");
    gst_element_class_add_static_pad_template(elementClass, &sourceTemplate);

    auto* const sourceClass = static_cast<GstBaseSrcClass*>(type);
    sourceClass->get_caps = GetCaps;
    sourceClass->create = Create;
}

void InitInstance(GTypeInstance* instance, gpointer) {
    SVornEventSynth* const element = Self(instance);
    element->init();
    gst_base_src_set_live(&element->parent, TRUE);
    gst_pad_set_activatemode_function(element->sourcePad(), ActivatePad);
}

GType ElementType() {
    static const GType type =
        g_type_register_static_simple(GST_TYPE_BASE_SRC, "VornEventSynth", sizeof(SVornEventSynthClass),
                                      InitClass, sizeof(SVornEventSynth), InitInstance, GTypeFlags(0));
    return type;
}

gboolean InitPlugin(GstPlugin* plugin) {
    GST_DEBUG_CATEGORY_INIT(vorn_eventsynth_debug, Name, 0, "VornEventSynth Element");
    return gst_element_register(plugin, Name, GST_RANK_NONE, ElementType());
}

} // namespace

GstElement* CreateEventSynthSrc(vorn_gst::v1_0::CGstContext* /*context*/, const char* name) {
    static std::mutex registrationMutex; // guards registered
    static bool registered = false;
    {
        const std::lock_guard<std::mutex> lock(registrationMutex);
        registered =
            registered || gst_plugin_register_static(GST_VERSION_MAJOR, GST_VERSION_MINOR, Name,
                                                     "Event generator", InitPlugin, "1.0", "Proprietary",
                                                     "VornHandler", "NVR", "https://corvane.example/");
        if (!registered)
            return nullptr;
    }
    return gst_element_factory_make(Name, name);
}

void SetBasicPolicy(GstElement* element, vorn_utility::v1_0::SBasicPolicy policy) {
    Self(element)->basic = std::move(policy);
}

GstElement* IncRefcount(SVornEventSynth* element) {
    return GST_ELEMENT(gst_object_ref(element));
}

void DecRefcount(SVornEventSynth* element) {
    gst_object_unref(element);
}

} // namespace corvane::vorn_event::v1_0
