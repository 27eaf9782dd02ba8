// A read of the settings cache, beside a look-up in a map of the same keys under the same kind of lock. Each
// reader goes through all keys in turn.

#include "benchmarks/workloads.h"

#include "camera/setting.h"
#include "camera/setting_keys.h"

#include <benchmark/benchmark.h>
#include <boost/make_shared.hpp>
#include <boost/thread/mutex.hpp>

#include <map>
#include <memory>
#include <vector>

namespace corvane::bench {

namespace {

using benchmark::State;
using panasonic_camera::CPanasonicSetting;

// The keys as the cache has them, with their trailing comma.
std::vector<std::string> CacheKeys() {
    std::map<std::string, int> distinct;
    for (const char* key : panasonic_camera::SettingKeys)
        distinct[panasonic_camera::DumpKey(key)];
    std::vector<std::string> keys;
    keys.reserve(distinct.size());
    for (const auto& [key, unused] : distinct)
        keys.push_back(key);
    return keys;
}

class CGuardedMap {
public:
    explicit CGuardedMap(CPanasonicSetting& setting) {
        for (const std::string& key : CacheKeys())
            values_[key] = setting.GetCameraSetting(key.substr(0, key.size() - 1));
    }

    std::string read(const std::string& key) {
        const boost::lock_guard<boost::mutex> guard(mutex_);
        return values_[key];
    }

private:
    boost::mutex mutex_;
    std::map<std::string, std::string> values_; // guarded by mutex_
};

template <class Read>
void ReadInTurn(State& state, const std::vector<std::string>& keys, Read read) {
    std::size_t next = static_cast<std::size_t>(state.thread_index()) % keys.size();
    for (auto _ : state) {
        benchmark::DoNotOptimize(read(keys[next]));
        next = next + 1 == keys.size() ? 0 : next + 1;
    }
}

} // namespace

void RegisterCacheRead(CEnvironment& environment) {
    const std::string address = environment.cameras().takeFresh();
    const auto setting = boost::make_shared<CPanasonicSetting>(address, environment.makeContext(address));
    if (setting->GetCameraSetting("CAMTITLE").empty())
        throw CFailure("the settings cache of " + address + " is empty");
    const auto map = std::make_shared<CGuardedMap>(*setting);

    std::vector<std::string> names; // as callers give them, without the comma
    for (const std::string& key : CacheKeys())
        names.push_back(key.substr(0, key.size() - 1));

    const int repetitions = environment.choose(15, 3);
    for (const int readers : {1, 8}) {
        const std::string group = "cache_read_" + std::to_string(readers);
        const auto readCache = [=](State& state) {
            ReadInTurn(state, names,
                       [&](const std::string& name) { return setting->GetCameraSetting(name); });
        };
        const auto readMap = [=, keys = CacheKeys()](State& state) {
            ReadInTurn(state, keys, [&](const std::string& key) { return map->read(key); });
        };
        benchmark::RegisterBenchmark((group + "/cache").c_str(), readCache)
            ->Threads(readers)
            ->UseRealTime()
            ->Repetitions(repetitions);
        benchmark::RegisterBenchmark((group + "/map").c_str(), readMap)
            ->Threads(readers)
            ->UseRealTime()
            ->Repetitions(repetitions);
    }
}

} // namespace corvane::bench
