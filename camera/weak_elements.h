#pragma once

#include "host/gst_object.h"

#include <map>
#include <mutex>

namespace corvane::panasonic_camera {

// Elements by number, each until it dies by itself. Callable from any thread.
class CWeakElements {
public:
    CWeakElements() = default;
    ~CWeakElements() {
        for (auto& [number, reference] : references_)
            g_weak_ref_clear(&reference);
    }
    CWeakElements(const CWeakElements&) = delete;
    CWeakElements& operator=(const CWeakElements&) = delete;

    // Takes the place of an earlier one.
    void set(int number, GstElement* element) {
        const std::lock_guard<std::mutex> lock(mutex_);
        const auto [entry, isNew] = references_.try_emplace(number);
        if (isNew)
            g_weak_ref_init(&entry->second, element);
        else
            g_weak_ref_set(&entry->second, element);
    }

    // A reference for the caller; null when there is none, or none any more.
    vorn_gst::v1_0::CGstRef<GstElement> find(int number) {
        const std::lock_guard<std::mutex> lock(mutex_);
        const auto found = references_.find(number);
        return vorn_gst::v1_0::CGstRef<GstElement>(
            found == references_.end() ? nullptr : static_cast<GstElement*>(g_weak_ref_get(&found->second)));
    }

private:
    std::mutex mutex_;
    std::map<int, GWeakRef> references_; // guarded by mutex_; a GWeakRef cannot be moved, and a node is not
};

} // namespace corvane::panasonic_camera
