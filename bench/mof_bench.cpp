// SPDX-License-Identifier: Apache-2.0
//
// What compiling MOF costs, measured against the least that it could: the same scanner producing
// every token of the same bytes. The schema is the DMTF's, read into memory before anything is
// timed, so that both sides see the same; a third measure reads the files as a compilation does.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <map>
#include <memory>
#include <unordered_map>

#include "openwbem/mof/MOFCompiler.hpp"
#include "openwbem/mof/Parser.hpp"

namespace {

using namespace OpenWBEM;

const char* const ROOT = KOV_MOF_CORPUS "/dmtf-cim-2.41/cim_schema_2.41.0.mof";

/// Every source of the schema as a compilation meets it.
struct Schema {
    Source root;
    std::unordered_map<String, Source> included;
};

const Schema& schema() {
    static const Schema loaded = [] {
        Schema s;
        s.root = MOF::includeFile(ROOT, "");
        MOF::compile(s.root, {}, "root", [&s](const String& name, const String& from) {
            return s.included[name] = MOF::includeFile(name, from);
        });
        return s;
    }();
    return loaded;
}

void BM_TokenPass(benchmark::State& state) {
    std::vector<std::unique_ptr<SourceText>> texts;
    size_t bytes = schema().root.text.size();
    texts.push_back(std::make_unique<SourceText>(schema().root));
    for (const auto& [name, source] : schema().included) {
        texts.push_back(std::make_unique<SourceText>(source));
        bytes += source.text.size();
    }
    size_t tokens = 0;
    for (auto _ : state) {
        tokens = 0;
        for (const auto& text : texts) {
            tokens += MOF::countTokens(*text);
        }
        benchmark::DoNotOptimize(tokens);
    }
    state.SetBytesProcessed(static_cast<int64_t>(bytes * state.iterations()));
    state.counters["tokens"] = static_cast<double>(tokens);
}

/// Copies that a compilation may take over, with room for what it appends, as from reading a file.
std::unordered_map<String, Source> copies() {
    std::unordered_map<String, Source> sources = schema().included;
    for (auto& [name, source] : sources) {
        source.text.reserve(source.text.size() + 2);
    }
    return sources;
}

void compileFromMemory(benchmark::State& state) {
    std::unordered_map<String, Source> sources = copies();
    const MOF::IncludeHandler include = [&](const String& name, const String&) {
        return std::move(sources.at(name));
    };
    for (auto _ : state) {
        auto contents = MOF::compile(schema().root, {}, "root", include);
        benchmark::DoNotOptimize(contents);
        // Making the sources and freeing the result are the caller's cost, not the compiler's.
        state.PauseTiming();
        contents.clear();
        // The allocator puts off a part of that until it is next asked for a large piece.
        benchmark::DoNotOptimize(std::make_unique<char[]>(100'000).get());
        sources = copies();
        state.ResumeTiming();
    }
}

void BM_CompileSchema(benchmark::State& state) {
    compileFromMemory(state);
}

void BM_CompileSchemaFromFiles(benchmark::State& state) {
    for (auto _ : state) {
        auto contents = MOF::compile(MOF::includeFile(ROOT, ""), {}, "root", MOF::includeFile);
        benchmark::DoNotOptimize(contents);
    }
}

/// Keeps the least time of each benchmark: noise only ever adds.
class Ratios : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            if (run.run_type == Run::RT_Iteration) {
                const double time = run.GetAdjustedCPUTime();
                const auto [place, isNew] = m_least.emplace(run.run_name.function_name, time);
                place->second = std::min(place->second, time);
            }
        }
        ConsoleReporter::ReportRuns(runs);
    }
    void print() const {
        const auto token = m_least.find("BM_TokenPass");
        const auto compile = m_least.find("BM_CompileSchema");
        if (token != m_least.end() && compile != m_least.end()) {
            std::printf("compile/token ratio: %.2f\n", compile->second / token->second);
        }
    }

private:
    std::map<std::string, double> m_least;
};

}  // namespace

BENCHMARK(BM_TokenPass)->Unit(benchmark::kMillisecond)->Repetitions(10);
BENCHMARK(BM_CompileSchema)->Unit(benchmark::kMillisecond)->Repetitions(10);
BENCHMARK(BM_CompileSchemaFromFiles)->Unit(benchmark::kMillisecond)->Repetitions(10);

int main(int argc, char** argv) {
    if (!std::filesystem::exists(ROOT)) {
        std::printf("skipped: the DMTF schema is not at %s\n", ROOT);
        return 0;
    }
    benchmark::Initialize(&argc, argv);
    Ratios reporter;
    try {
        benchmark::RunSpecifiedBenchmarks(&reporter);
    } catch (const blocxx::Exception& e) {
        std::fprintf(stderr, "%s\n", e.getMessage());
        return 1;
    }
    reporter.print();
    return 0;
}
