// CVornModelList, host/model_list.h.

#include "report.h"

namespace conformance {

void CheckModelList(CReport& report) {
    SVornUrl test;
    test.path = "/test";
    test.replyKey = "NAME=";
    SQueryDevice query;
    query.modelNumber.url.path = "/number";
    query.serialNumber.url.path = "/serial";
    query.serialNumber.delimiters = "\r\n";
    SModelInfo dome, box;
    dome.number = "D2";
    dome.family = "Domes";
    dome.videoInputs = 3;
    box.number = "B1";
    box.family = "Boxes";
    const CVornModelList list(test, {{"Domes", "admin", "12345"}, {"Boxes", "root", ""}}, {{"Domes", query}},
                              {{"D2", dome}, {"B1", box}});

    report.check("models.the-test-of-credentials", [&] {
        return First({Differs("path", list.getTestAuthentication().path, "/test"),
                      Differs("key", list.getTestAuthentication().replyKey, "NAME=")});
    });
    report.check("models.the-queries-of-a-family", [&] {
        const SQueryDevice found = list.getQueryDevice("Domes");
        return First({Differs("the number's path", found.modelNumber.url.path, "/number"),
                      Differs("the serial number's path", found.serialNumber.url.path, "/serial"),
                      Differs("its delimiters", found.serialNumber.delimiters, "\r\n")});
    });
    report.check("models.no-queries-of-an-unknown-family",
                 [&] { return Differs("the path", list.getQueryDevice("Others").modelNumber.url.path, ""); });
    report.check("models.the-family-of-a-model", [&] {
        return First({Differs("of D2", list.getModelFamiyName("D2"), "Domes"),
                      Differs("of B1", list.getModelFamiyName("B1"), "Boxes")});
    });
    report.check("models.no-family-of-an-unknown-model",
                 [&] { return Differs("the name", list.getModelFamiyName("D"), ""); });
    report.check("models.the-model-of-exactly-a-number", [&] {
        const SModelInfo* const found = list.findModel("D2");
        return First(
            {found ? Differs("its inputs", found->videoInputs, 3) : "D2 is not found",
             list.findModel("D") || list.findModel("D22") ? "a part of the number is taken for it" : "",
             Differs("the same object again", list.findModel("D2"), found)});
    });
}

} // namespace conformance
