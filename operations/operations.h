#pragma once

// Calls by name: what a service tool or a script needs to reach every operation of a device's objects. Each
// object registers its operations; arguments come as texts and are read by the types of the operation's
// parameters, and what the operation returns comes back as an SAnswer.

#include "host/api.h"
#include "host/audio.h"
#include "host/callback.h"
#include "host/device_id.h"
#include "host/error.h"
#include "host/stream_id.h"
#include "host/text.h"
#include "host/video.h"

#include <boost/function.hpp>

#include <initializer_list>
#include <stdexcept>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

namespace corvane::device_handler::v1_0 {

// What a call answered.
struct SAnswer {
    // The result of an operation that returns a plain value.
    using Result = std::variant<std::monostate, bool, long long, std::string, std::vector<std::string>>;

    COptional<CError> error;         // of an operation that returns one
    Result result;                   // of an operation that returns a plain value
    std::vector<std::string> values; // the output arguments in order, a vector's entries one after another
    COptional<int> type;             // the value type of a range
    // Of an operation that fills a stream's record: field and value of what is set in it.
    using Record = std::vector<std::pair<std::string, std::string>>;
    COptional<Record> record;

    const Record& recordOrEmpty() const {
        static const Record empty;
        return record ? *record : empty;
    }
};

using AnswerCallback = boost::function<void(const SAnswer&)>;

// Why a call could not be made: no such operation, a wrong number of arguments, or an argument that cannot be
// read. The text says which and what was expected.
class VORN_HOST_API COperationError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Reads the texts of arguments. Each throws COperationError with what was expected.
struct VORN_HOST_API SArgumentReader {
    static int readInt(const std::string& text);
    static unsigned readUnsigned(const std::string& text);
    static VideoCodec readVideoCodec(const std::string& text);
    static handler_impl::SVideoStreamId readVideoStreamId(const std::string& text);
    static std::vector<std::string> readTexts(const std::string& text);
    static vorn_camera_base::v1_0::SVornVidValsInDb readVideoRecord(const std::string& text);
    static AudioCodec readAudioCodec(const std::string& text);
    static handler_impl::SAudioStreamId readAudioStreamId(const std::string& text);
    static vorn_camera_base::v1_0::SVornAudValsInDb readAudioRecord(const std::string& text);
};

// An argument that is read and then given back as an output.
template <class T>
struct SInOut {
    T value;
};

// A list of texts where a lone text means something else: the argument must hold a comma, and a comma at the
// end ends the list, so "A," is the list of A.
struct STextList {
    std::vector<std::string> texts;
};

// How arguments of one type are read, and how their form is told to a person.
template <class T>
struct SArgument;

template <>
struct SArgument<int> {
    static constexpr const char* Form = "number";
    static constexpr auto read = &SArgumentReader::readInt;
};
template <>
struct SArgument<unsigned> {
    static constexpr const char* Form = "number";
    static constexpr auto read = &SArgumentReader::readUnsigned;
};
template <>
struct SArgument<std::string> {
    static constexpr const char* Form = "text";
    static std::string read(const std::string& text) { return text; }
};
template <>
struct SArgument<CString> {
    static constexpr const char* Form = "text";
    static CString read(const std::string& text) { return {text}; }
};
template <>
struct SArgument<std::vector<std::string>> {
    static constexpr const char* Form = "text,text,...";
    static constexpr auto read = &SArgumentReader::readTexts;
};
template <>
struct SArgument<STextList> {
    static constexpr const char* Form = "text,[text,...]";
    static STextList read(const std::string& text) {
        if (text.find(',') == std::string::npos)
            throw COperationError("a list of texts, each ended by a comma");
        return {SArgumentReader::readTexts(text)};
    }
};
template <>
struct SArgument<VideoCodec> {
    static constexpr const char* Form = "codec";
    static constexpr auto read = &SArgumentReader::readVideoCodec;
};
template <>
struct SArgument<handler_impl::SVideoStreamId> {
    static constexpr const char* Form = "channel,codec,stream";
    static constexpr auto read = &SArgumentReader::readVideoStreamId;
};
template <>
struct SArgument<vorn_camera_base::v1_0::SVornVidValsInDb> {
    static constexpr const char* Form = "field=value;...";
    static constexpr auto read = &SArgumentReader::readVideoRecord;
};
template <>
struct SArgument<AudioCodec> {
    static constexpr const char* Form = "codec";
    static constexpr auto read = &SArgumentReader::readAudioCodec;
};
template <>
struct SArgument<handler_impl::SAudioStreamId> {
    static constexpr const char* Form = "stream,codec";
    static constexpr auto read = &SArgumentReader::readAudioStreamId;
};
template <>
struct SArgument<vorn_camera_base::v1_0::SVornAudValsInDb> {
    static constexpr const char* Form = "bitRate=value";
    static constexpr auto read = &SArgumentReader::readAudioRecord;
};
template <class T>
struct SArgument<SInOut<T>> {
    static constexpr const char* Form = SArgument<T>::Form;
    static SInOut<T> read(const std::string& text) { return {SArgument<T>::read(text)}; }
};

// How an output argument goes into the answer.
inline void AppendOutput(SAnswer& answer, const std::string& value) {
    answer.values.push_back(value);
}
inline void AppendOutput(SAnswer& answer, const CString& value) {
    answer.values.push_back(value.str());
}
inline void AppendOutput(SAnswer& answer, int value) {
    answer.values.push_back(std::to_string(value));
}
template <class T>
void AppendOutput(SAnswer& answer, const std::vector<T>& values) {
    for (const T& value : values)
        AppendOutput(answer, value);
}
inline void AppendOutput(SAnswer& answer, const COptional<CDeviceId>& value) {
    if (!value)
        return;
    answer.values.push_back(value->getFamilyName());
    answer.values.push_back(value->getSerialNumber().str());
}
inline void AppendOutput(SAnswer& answer, vorn_camera_base::v1_0::CVAPI_VALUE_TYPE type) {
    answer.type = static_cast<int>(type);
}
// The fields that are set.
inline void AppendOutput(SAnswer& answer, const vorn_camera_base::v1_0::SVornVidValsInDb& record) {
    answer.record.emplace();
    for (const auto& field : vorn_camera_base::v1_0::VideoFields)
        if (const CString& value = record.*field.value; !value.empty())
            answer.record->emplace_back(field.name, value.str());
}
inline void AppendOutput(SAnswer& answer, const vorn_camera_base::v1_0::SVornAudValsInDb& record) {
    answer.record.emplace();
    if (!record.bitRate.empty())
        answer.record->emplace_back(vorn_camera_base::v1_0::AudioBitRateField, record.bitRate.str());
}
template <class T>
void AppendOutput(SAnswer& answer, const SInOut<T>& argument) {
    AppendOutput(answer, argument.value);
}

// How a returned value goes into the answer.
inline void SetReturned(SAnswer& answer, const CError& error) {
    answer.error = error;
}
inline void SetReturned(SAnswer& answer, bool value) {
    answer.result = value;
}
inline void SetReturned(SAnswer& answer, int value) {
    answer.result = static_cast<long long>(value);
}
inline void SetReturned(SAnswer& answer, const std::string& value) {
    answer.result = value;
}
inline void SetReturned(SAnswer& answer, std::vector<std::string> value) {
    answer.result = std::move(value);
}
inline void SetReturned(SAnswer& answer, const std::vector<CString>& values) {
    std::vector<std::string> texts;
    texts.reserve(values.size());
    for (const CString& value : values)
        texts.push_back(value.str());
    answer.result = std::move(texts);
}

namespace operations_detail {

template <class P>
using Stored = std::remove_cv_t<std::remove_reference_t<P>>;

template <class T>
inline constexpr bool IsInOut = false;
template <class T>
inline constexpr bool IsInOut<SInOut<T>> = true;

// Inputs are taken by value or by constant reference, outputs by reference. A stream id is always an input.
template <class P>
inline constexpr bool IsInput =
    !std::is_lvalue_reference_v<P> || std::is_const_v<std::remove_reference_t<P>> ||
    std::is_same_v<Stored<P>, handler_impl::SVideoStreamId> || IsInOut<Stored<P>>;

template <class P>
inline constexpr bool IsCallback = std::is_same_v<Stored<P>, CCallback>;

template <class P>
inline constexpr bool IsArgument = IsInput<P> && !IsCallback<P>;
template <class P>
inline constexpr bool IsOutput = !IsInput<P> || IsInOut<Stored<P>>;

// Hands out the argument texts in order, and completes what cannot be read with its name and text.
class VORN_HOST_API CArgumentCursor {
public:
    CArgumentCursor(const std::vector<std::string>& texts, const std::vector<std::string>& names,
                    CCallback callback)
        : texts_(texts), names_(names), callback_(std::move(callback)) {}

    template <class P>
    Stored<P> take() {
        if constexpr (IsCallback<P>) {
            return callback_;
        } else if constexpr (IsInput<P>) {
            const std::size_t i = next_++;
            try {
                return SArgument<Stored<P>>::read(texts_[i]);
            } catch (const COperationError& expected) {
                throw COperationError("wrong argument \"" + texts_[i] + "\" for " + names_[i] +
                                      ": expected " + expected.what());
            }
        } else {
            return Stored<P>{};
        }
    }

private:
    const std::vector<std::string>& texts_;
    const std::vector<std::string>& names_;
    CCallback callback_;
    std::size_t next_ = 0;
};

template <class P>
void AddForm(std::vector<std::string>& forms) {
    if constexpr (IsArgument<P>)
        forms.emplace_back(SArgument<Stored<P>>::Form);
}

template <class P, class T>
void AppendIfOutput(SAnswer& answer, const T& value) {
    if constexpr (IsOutput<P>)
        AppendOutput(answer, value);
}

} // namespace operations_detail

// The names of an operation's parameters: those of its inputs alone, or, from its declaration, "(int pan)",
// of all.
class VORN_HOST_API CParameterNames {
public:
    CParameterNames(std::initializer_list<const char*> inputs) : names_(inputs.begin(), inputs.end()) {}
    CParameterNames(const char* declaration);

    // Those of the inputs, and of the outputs as far as they are known; each parameter is one or not.
    std::vector<std::string> inputs(const std::vector<bool>& isInput) const;
    std::vector<std::string> outputs(const std::vector<bool>& isOutput) const;

private:
    std::vector<std::string> select(const std::vector<bool>& isWanted) const;

    std::vector<std::string> names_;
    bool ofAll_ = false;
};

// One operation that can be called by name.
struct SOperation {
    std::string name;
    std::vector<std::string> parameterNames; // of the input arguments, in order
    std::vector<std::string> parameterForms; // likewise ("number", "channel,codec,stream")
    std::vector<std::string> outputNames;    // as far as they are known

    // Reads the arguments, as many as there are parameters, and makes the call; `done` receives the answer
    // exactly once, before the return or, for an asynchronous operation, when its callback runs.
    boost::function<CAsyncOp(const std::vector<std::string>& arguments, const AnswerCallback& done)> call;
};

// The operations of a device's objects by name. Filled on one thread; afterwards calls may come from any
// thread in which the operation itself may be called. The objects must outlive it.
class VORN_HOST_API COperationRegistry {
public:
    // Adds an operation that is any callable of this signature, with the names of its input arguments.
    template <class R, class... P>
    void add(const std::string& name, const CParameterNames& parameters, boost::function<R(P...)> function);

    // Adds a member function of an object.
    template <class O, class C, class R, class... P>
    void add(const std::string& name, O* object, R (C::*member)(P...), const CParameterNames& parameters) {
        add(name, parameters, boost::function<R(P...)>([object, member](P... arguments) -> R {
                return (object->*member)(std::forward<P>(arguments)...);
            }));
    }
    template <class O, class C, class R, class... P>
    void add(const std::string& name, O* object, R (C::*member)(P...) const,
             const CParameterNames& parameters) {
        add(name, parameters, boost::function<R(P...)>([object, member](P... arguments) -> R {
                return (object->*member)(std::forward<P>(arguments)...);
            }));
    }

    // Calls an operation; of several with one name, the first whose arguments can be read. Throws
    // COperationError when there is none.
    CAsyncOp call(const std::string& name, const std::vector<std::string>& arguments,
                  const AnswerCallback& done) const;

    // All operations, in the order in which they were added.
    const std::vector<SOperation>& operations() const { return operations_; }

private:
    static constexpr std::size_t UsualCount = 300; // of a camera with all that belongs to it

    std::vector<SOperation> operations_;
};

template <class R, class... P>
void COperationRegistry::add(const std::string& name, const CParameterNames& parameters,
                             boost::function<R(P...)> function) {
    namespace detail = operations_detail;
    SOperation operation;
    operation.name = name;
    operation.parameterNames = parameters.inputs({detail::IsArgument<P>...});
    operation.outputNames = parameters.outputs({detail::IsOutput<P>...});
    (detail::AddForm<P>(operation.parameterForms), ...);
    operation.parameterNames.resize(operation.parameterForms.size(), "argument");

    operation.call = [function, names = operation.parameterNames](const std::vector<std::string>& arguments,
                                                                  const AnswerCallback& done) -> CAsyncOp {
        const CCallback completion([done](const CError& error, const std::vector<CString>& values) {
            SAnswer answer;
            answer.error = error;
            AppendOutput(answer, values);
            done(answer);
        });
        detail::CArgumentCursor cursor(arguments, names, completion);
        // Braces, so that the arguments are taken in order.
        std::tuple<detail::Stored<P>...> stored{cursor.take<P>()...};
        return std::apply(
            [&](auto&... values) -> CAsyncOp {
                if constexpr ((detail::IsCallback<P> || ...)) {
                    return function(values...);
                } else {
                    SAnswer answer;
                    if constexpr (std::is_void_v<R>)
                        function(values...);
                    else
                        SetReturned(answer, function(values...));
                    (detail::AppendIfOutput<P>(answer, values), ...);
                    done(answer);
                    return {};
                }
            },
            stored);
    };
    if (operations_.empty())
        operations_.reserve(UsualCount); // boost::function is copied where a vector grows
    operations_.push_back(std::move(operation));
}

} // namespace corvane::device_handler::v1_0
