#pragma once

#include "site/diagnosis/diagnosis.h"
#include "site/session/device_session.h"
#include "site/site_file.h"
#include "tools/vornhost/console/status_line.h"
#include "tools/vornhost/names.h"

#include <atomic>
#include <cstddef>
#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace corvane::vornhost {

struct SSurveyOptions {
    Texts words;               // addresses and ranges
    bool withSettings = false; // what each camera has becomes its wish
    std::size_t jobs = 64;     // cameras at once
};

// Asks many addresses what is there, and makes a site of the cameras.
class CSiteSurvey {
public:
    // Throws CFailure.
    CSiteSurvey(const SOptions& options, SSurveyOptions surveyOptions);

    // Prints the site file, and tells on standard error what is no camera.
    ExitStatus run();

private:
    void askAll();
    void ask(std::size_t place);
    site::SSiteCamera cameraAt(const std::string& address, CDeviceSession& session) const;
    void take(std::size_t place, site::SSiteCamera camera);
    void take(std::size_t place, SDiagnosis problem);
    void showProgress();
    void tellMissing() const;
    ExitStatus status() const;
    site::SSite site() const;

    const SOptions options_;
    const SSurveyOptions surveyOptions_;
    Texts addresses_;
    std::size_t single_ = 0; // so many of the first are no range's
    const SRecorder recorder_;
    const CCredentials credentials_;
    std::atomic<bool> isEnded_{false};

    std::mutex mutex_; // guards what follows
    std::map<std::size_t, site::SSiteCamera> cameras_;
    std::map<std::size_t, SDiagnosis> missing_;
    CStatusLine progress_{true};
};

} // namespace corvane::vornhost
