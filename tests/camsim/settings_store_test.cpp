// How much of its own a camera keeps in its settings.

#include "model/settings_store.h"

#include <gtest/gtest.h>

namespace {

using namespace camsim;

TEST(SettingsStore, TakesNoMoreThanThereIsRoomFor) {
    CSettingsStore store(LoadEmbeddedModel("F320"));
    const std::string half(CSettingsStore::MostBytes / 2, 'x');
    EXPECT_TRUE(store.put("CAMTITLE", half));
    EXPECT_FALSE(store.put("BRIGHTNESS", half));
    EXPECT_EQ(store.value("BRIGHTNESS")->size(), 3U);
    EXPECT_FALSE(store.hasRoomFor({{"ADDED", half}}));
    EXPECT_TRUE(store.put("CAMTITLE", half + "y")); // which takes the other's place
    EXPECT_TRUE(store.put("CAMTITLE", "Garage"));
    EXPECT_TRUE(store.put("BRIGHTNESS", half));
    store.reset();
    EXPECT_TRUE(store.put("ADDED", half));
    EXPECT_FALSE(store.hasRoomFor({{"MORE", half}}));
    EXPECT_TRUE(store.hasRoomFor({{"MORE", half.substr(1000)}}));
}

} // namespace
