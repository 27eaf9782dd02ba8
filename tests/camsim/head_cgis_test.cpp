// What a camera answers to the CGIs of its head, and what it then does.

#include "model/cgi.h"

#include <gmock/gmock.h>

namespace {

using namespace camsim;
using testing::StartsWith;

class CCameraOf : public CCamera {
public:
    explicit CCameraOf(const char* model) : CCamera(0, LoadEmbeddedModel(model)) {}

    SCgiReply ask(const std::string& target) {
        const STarget cut = SplitTarget("/cgi-bin/" + target);
        return AnswerCgi(*this, {cut.path, ParseForm(cut.query)});
    }

    // The status, and where the axes that are not at home then come to rest.
    std::pair<unsigned, HeadPlace> after(const std::string& target) {
        const unsigned status = ask(target).status;
        return {status, state().head.position};
    }
};

using Outcome = std::pair<unsigned, HeadPlace>;

TEST(HeadCgis, RefuseWhatNeedsAnAxisThatTheCameraHasNot) {
    CCameraOf dome("D850");
    CCameraOf fixed("F320");
    CCameraOf headless("GXE500");
    for (const char* target : {"absctrl?pan=10&tilt=20&zoom=30", "absctrl?tilt=20",
                               "camctrl?pan=4&tilt=-5&ch=1", "camctrl?iris=2&ch=1", "camctrl?preset=4&ch=1",
                               "directctrl?pan=0&tilt=0&zoom=0&ch=1", "directctrl?rpan=9&ch=1", "camposiset",
                               "camposiset?presetset=4&ch=1", "set_patrol?recstart=1", "set_patrol?play=1"}) {
        EXPECT_EQ(dome.ask(target).status, 200U) << target;
        EXPECT_EQ(fixed.after(target), Outcome(404, {})) << target;
        EXPECT_EQ(headless.ask(target).status, 404U) << target;
    }
    for (const char* target : {"absget", "absctrl?focus=1", "camctrl?af=on", "directctrl"})
        EXPECT_EQ(headless.ask(target).status, 404U) << target;
}

TEST(HeadCgis, AFixedCameraFocuses) {
    CCameraOf camera("F320");
    EXPECT_THAT(camera.ask("absget?page=12345").body, StartsWith("\r\nFOCUS=128\r\n"));
    EXPECT_EQ(camera.after("absctrl?focus=10"), Outcome(200, {{"focus", 10}}));
    EXPECT_EQ(camera.after("directctrl?focus=8"), Outcome(200, {{"focus", 255}}));
    EXPECT_EQ(camera.after("camctrl?af=on"), Outcome(200, {}));
    EXPECT_EQ(camera.after("absctrl?pan=1&focus=300"), Outcome(200, {{"focus", 255}}));
}

} // namespace
