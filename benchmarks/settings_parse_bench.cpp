// The parsing of one settings dump into the cache, beside one pass of memchr over it for a byte that it does
// not hold, and beside the plain rule, a search for each key.

#include "benchmarks/plain_client.h"
#include "benchmarks/workloads.h"

#include "camera/cgi_paths.h"
#include "camera/setdata_parser.h"
#include "camera/setting_keys.h"
#include "fuzz/plain_setdata_rule.h"

#include <benchmark/benchmark.h>

#include <cstring>
#include <map>

namespace corvane::bench {

namespace {

using benchmark::State;
using Settings = panasonic_camera::SettingMap;
using Parser = void (*)(const std::string& dump, Settings& settings);

constexpr char AbsentByte = '\1';

Settings Parse(Parser parse, const std::string& dump) {
    Settings settings;
    for (const char* key : panasonic_camera::SettingKeys)
        settings[panasonic_camera::DumpKey(key)];
    parse(dump, settings);
    return settings;
}

void RegisterParser(const std::string& name, Parser parse, const std::string& dump, int repetitions) {
    benchmark::RegisterBenchmark(name.c_str(), [=, settings = Parse(parse, dump)](State& state) mutable {
        for (auto _ : state) {
            parse(dump, settings);
            benchmark::ClobberMemory();
        }
    })->Repetitions(repetitions);
}

} // namespace

void RegisterSettingsParse(CEnvironment& environment) {
    CPlainClient client(environment.cameras().takeFresh(), environment.credentials());
    const std::string dump = client.get(panasonic_camera::cgi::Setdata);
    if (dump.empty() || dump.find(AbsentByte) != std::string::npos)
        throw CFailure("no settings dump to parse");
    if (Parse(panasonic_camera::ParseSetdata, dump) != Parse(fuzz::ParseSetdataPlainly, dump))
        throw CFailure("the parser does not follow the plain rule");

    const int repetitions = environment.choose(15, 3);
    RegisterParser("settings_parse/parser", panasonic_camera::ParseSetdata, dump, repetitions);
    RegisterParser("settings_parse/plain_rule", fuzz::ParseSetdataPlainly, dump, repetitions);
    benchmark::RegisterBenchmark("settings_parse/memchr", [=](State& state) {
        for (auto _ : state) {
            // NOLINTNEXTLINE(bugprone-not-null-terminated-result): nothing is copied
            const void* found = std::memchr(dump.data(), AbsentByte, dump.size());
            benchmark::DoNotOptimize(found);
        }
    })->Repetitions(repetitions);
}

} // namespace corvane::bench
