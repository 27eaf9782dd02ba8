// Says of each operation of the host that the plug-in calls whether it behaves as host/ has it.

#include "report.h"

int main() {
    using namespace conformance;
    const SHostUnderTest host = TheHost();
    CReport report(host);
    CheckCredentials(host, report);
    CheckLog(host, report);
    CheckDatabase(host, report);
    CheckModelList(report);
    CheckQueue(report);
    CheckHttp(report);
    std::cout << report.passed() << " as they must be, " << report.failed() << " not" << std::endl;
    return report.failed() == 0 && report.passed() > 0 ? 0 : 1;
}
