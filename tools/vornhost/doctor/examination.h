#pragma once

#include "refhost/http/connection_probe.h"
#include "site/session/device_session.h"
#include "tools/vornhost/doctor/finding.h"
#include "tools/vornhost/doctor/input_check.h"
#include "tools/vornhost/doctor/stream_check.h"
#include "tools/vornhost/names.h"

#include <nlohmann/json.hpp>

#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <shared_mutex>
#include <string>
#include <vector>

namespace corvane::vornhost {

// What is looked at besides what a camera is always asked.
struct SExaminationPlan {
    bool withWrite = false;             // one setting is written with the value that it has
    bool withMove = false;              // the head makes a step and goes back
    std::optional<ordered_json> record; // what the recorder wants: "streams" and "adjustments"
    std::string serialNumber;           // that it is to have; empty: any
};

// Finds out what is wrong with a camera, from its address to its pictures. Without withWrite and withMove
// nothing is changed at the camera.
class CExamination {
public:
    struct SReports {
        std::function<void(const SFinding&)> finding; // each as it ends, one at a time, on any thread
        std::function<void(const std::string& what)>
            begins; // what is waited for next; on the thread of run()
    };

    // The session has not been started.
    CExamination(CDeviceSession& session, SExaminationPlan plan, SReports reports);

    // In the order in which they ended.
    std::vector<SFinding> run();

    // The fault that the others follow from, else the warning; null where all is well.
    static const SFinding* rootOf(const std::vector<SFinding>& findings);

    using Check = std::function<SFinding()>;

private:
    struct SStream {
        SVideoStreamId id;
        std::string text; // "0,h264,0"
        refhost::SRtspSource source;
        SStreamSetting wish;
        bool isDelivered;
    };

    // Unless a check failed that this one needs; then it is skipped. Whether it found no fault.
    bool check(const std::string& name, const std::vector<std::string>& needs, const Check& check);
    void note(SFinding finding);
    std::string missing(const std::vector<std::string>& needs) const;

    void examineConnection();
    void examineIdentity();
    void examineSettings();
    void examineData();

    SFinding address();
    SFinding connection() const;
    SFinding http();
    SFinding credentials();
    std::optional<SDiagnosis> anotherCamera() const; // than the plan's
    SFinding identity();
    SFinding settings();
    SFinding capability();
    SFinding clock();
    SFinding answerTimes();
    SFinding position();
    SFinding writeTest();
    SFinding moveTest();
    SFinding drift();
    std::vector<SStream> streams();
    SFinding taken(const Check& take);
    static SFinding playedStream(const SStream& stream);
    static SFinding offStream(const std::string& codec);
    Check audioCheck(const std::vector<SStream>& streams);
    bool hasHead() const;
    int inputCount();

    std::optional<SDiagnosis> twoDevices() const;
    std::optional<SDiagnosis> dumpProblem() const;
    std::string place() const;
    std::string placeOtherThan(const std::string& before) const;
    SDiagnosis unconnected() const;
    std::string identityPath() const;
    std::optional<SAnswer> call(const std::string& operation, const Texts& arguments) const;
    std::string setting(const std::string& key) const;
    refhost::SRtspSource sourceOf(const device_handler::v1_0::SStreamUrl& url) const;

    CDeviceSession& session_;
    const SExaminationPlan plan_;
    const SReports reports_;
    refhost::SProbedConnection probed_;
    bool isReached_ = false; // it has taken a connection
    std::optional<refhost::SHttpReply> identityReply_;
    std::optional<refhost::SHttpReply> settingsReply_;
    std::optional<SDiagnosis> unusable_; // why the camera could not be initialised
    std::optional<SDiagnosis> unknownModel_;

    std::shared_mutex streaming_; // shared by who takes a stream beside others; held by who takes it alone

    mutable std::mutex mutex_; // guards what follows
    std::vector<SFinding> findings_;
    std::map<std::string, std::string> missing_; // of a check that brought nothing: the fault behind it
};

} // namespace corvane::vornhost
