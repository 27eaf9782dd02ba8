#include "refhost/text/near_names.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace corvane::refhost {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(NearNames, FindSlipsOfThePen) {
    const std::vector<std::string> names = {"getVideoCodecId", "getVideoCodecCount",
                                            "setting.GetCameraSetting", "getCameraName"};
    EXPECT_THAT(NearNames("getVideoCodecIt", names), ElementsAre("getVideoCodecId", "getVideoCodecCount"));
    EXPECT_THAT(NearNames("GETVIDEOCODECCOUNT", names), ElementsAre("getVideoCodecCount", "getVideoCodecId"));
    EXPECT_THAT(NearNames("GetCameraSetting", names), ElementsAre("setting.GetCameraSetting"));
    EXPECT_THAT(NearNames("rebootDevice", names), IsEmpty());
    EXPECT_THAT(NearNames("", names), IsEmpty());
    EXPECT_THAT(NearNames(std::string(101, 'x'), {std::string(101, 'x')}), IsEmpty()); // nobody's
    EXPECT_THAT(NearNames("ab", {"aa", "ac", "ad", "ae"}), testing::SizeIs(3));
}

} // namespace
} // namespace corvane::refhost
