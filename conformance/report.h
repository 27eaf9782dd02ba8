#pragma once

#include "host_under_test.h"

#include <iostream>
#include <sstream>

namespace conformance {

// What came of each check, a line each.
class CReport {
public:
    explicit CReport(const SHostUnderTest& host) : host_(host) {}

    // One check by its name, "group.operation-what"; `body` gives nothing, or what is wrong. What it throws
    // is wrong, too.
    template <class Body>
    void check(const std::string& name, Body body) {
        if (const std::string* reason = notClaimed(name)) {
            std::cout << "not claimed  " << name << ": " << *reason << std::endl;
            return;
        }
        std::string wrong;
        try {
            wrong = body();
        } catch (const std::exception& failure) {
            wrong = std::string("it throws: ") + failure.what();
        }
        ++(wrong.empty() ? passed_ : failed_);
        std::cout << (wrong.empty() ? "ok           " : "FAILED       ") << name
                  << (wrong.empty() ? "" : ": ") << wrong << std::endl;
    }

    int passed() const { return passed_; }
    int failed() const { return failed_; }

private:
    const std::string* notClaimed(const std::string& name) const {
        for (const std::string& of : {name, name.substr(0, name.find('.'))})
            if (const auto found = host_.notClaimed.find(of); found != host_.notClaimed.end())
                return &found->second;
        return nullptr;
    }

    const SHostUnderTest& host_;
    int passed_ = 0;
    int failed_ = 0;
};

// Nothing, or what came in place of what was wanted.
template <class Came, class Wanted>
std::string Differs(const std::string& what, const Came& came, const Wanted& wanted) {
    if (came == wanted)
        return "";
    std::ostringstream text;
    text << std::boolalpha << what << " is \"" << came << "\" and not \"" << wanted << "\"";
    return text.str();
}

// Likewise of an error.
inline std::string Differs(const CError& error, RtnCode code, Origin origin) {
    std::string wrong = Differs("the code", error.getCode(), static_cast<int>(code));
    if (wrong.empty() && error)
        wrong = Differs("the origin", error.getOrigin(), static_cast<int>(origin));
    return wrong.empty() ? "" : wrong + " (" + error.getText() + ")";
}

// The first that is wrong.
inline std::string First(std::initializer_list<std::string> wrongs) {
    for (const std::string& wrong : wrongs)
        if (!wrong.empty())
            return wrong;
    return "";
}

void CheckCredentials(const SHostUnderTest& host, CReport& report);
void CheckDatabase(const SHostUnderTest& host, CReport& report);
void CheckHttp(CReport& report);
void CheckLog(const SHostUnderTest& host, CReport& report);
void CheckModelList(CReport& report);
void CheckQueue(CReport& report);

} // namespace conformance
