// Transient runs of a small RC circuit: through canal's framed script and
// script runner, and through plain libngspice calls, in one process.
#include "analyses/core/analysis.h"
#include "analyses/core/analysis_factory.h"
#include "host/ngspice/script_runner.h"
#include "host/ngspice/session.h"
#include "platform/property.h"

#include <benchmark/benchmark.h>
#include <ngspice/sharedspice.h>

#include <chrono>
#include <ctime>
#include <memory>
#include <string>
#include <vector>

namespace {

constexpr int kRuns = 200; // transient runs per benchmark iteration

const std::vector<std::string> kCircuit = {
    "bench rc low pass",
    "V1 in 0 PULSE(0 1 0 1u 1u 0.5m 1m)",
    "R1 in out 1k",
    "C1 out 0 100n",
    ".end",
};

// The same transient as the canal settings below, as ngspice's own command.
const char* const kPlainTran = "tran 1e-05 0.002 0 1e-05";
const char* const kTranSettings = "TRAN:list{ANALYSIS:list{TSTEP:double{1e-05} TSTOP:double{0.002} "
                                  "TSTART:double{0} TMAX:double{1e-05} IC:string{dcop}}}";

struct CanalSetup {
    std::unique_ptr<Analyses::Analysis> analysis;
    std::string script;
};

/// The framed script of a transient analysis saving v(out), built the way the
/// tool builds it: the settings text read into a default analysis.
/// `showDevices` keeps the analysis' default "show all; showmod all" at the end
/// of every run; without it the script does what the plain client does.
bool MakeCanalScript(CanalSetup& setup, bool showDevices, std::string& error) {
    setup.analysis.reset(NewAnalysisByNickname("TRAN", nullptr));
    if (!setup.analysis) {
        error = "no TRAN analysis in this build";
        return false;
    }
    CPropertyList list;
    list.Parse(kTranSettings);
    CPropertyItem item;
    if (!list.GetNth(0, item) || !setup.analysis->fromPropertyItem(item)) {
        error = "the TRAN settings were not applied";
        return false;
    }
    setup.analysis->GetAnalysisNodes().SetNodesString("v(out)");
    setup.analysis->GetAnalysisNodes().SetShowDevAtEnd(showDevices ? 1 : 0);
    setup.script = setup.analysis->toNutmegCommand(-1).str();
    return true;
}

/// One run through canal: the framed script, the pages it fills, then the
/// plots dropped so that memory stays flat over many runs.
bool CanalRun(host::ScriptRunner& runner, const std::string& script, size_t& points,
              std::string& error) {
    host::RunResult result = runner.Run(script);
    if (!result.ok || result.pages.empty() || result.pages.front().traces.empty()) {
        error = result.ok ? "the run gave no trace" : result.error;
        return false;
    }
    points = result.pages.front().x.size();
    (void)host::NgSpiceSession::Get().Command("destroy all");
    return true;
}

/// One run through plain libngspice: the command, then the vectors copied out.
bool PlainRun(size_t& points, std::string& error) {
    ngSpice_Command(const_cast<char*>(kPlainTran));
    std::vector<double> time, out;
    for (auto [name, target] : {std::pair{"time", &time}, std::pair{"out", &out}}) {
        pvector_info info = ngGet_Vec_Info(const_cast<char*>(name));
        if (!info || !info->v_realdata) {
            error = std::string("no vector ") + name;
            return false;
        }
        target->assign(info->v_realdata, info->v_realdata + info->v_length);
    }
    points = out.size();
    benchmark::DoNotOptimize(out.data());
    ngSpice_Command(const_cast<char*>("destroy all"));
    return true;
}

bool LoadForCanal(host::ScriptRunner& runner, std::string& error) {
    return runner.LoadCircuitLines(kCircuit, error);
}

/// Loads the circuit with ngSpice_Circ, as a plain client would.
bool LoadForPlain(std::string& error) {
    (void)host::NgSpiceSession::Get(); // initialises the library once for the process
    std::vector<std::string> lines = kCircuit;
    std::vector<char*> cards;
    for (std::string& line : lines)
        cards.push_back(line.data());
    cards.push_back(nullptr);
    ngSpice_Command(const_cast<char*>("remcirc"));
    if (ngSpice_Circ(cards.data()) != 0) {
        error = "ngSpice_Circ failed";
        return false;
    }
    return true;
}

void BM_TranThroughCanal(benchmark::State& state) {
    host::ScriptRunner runner(host::NgSpiceSession::Get());
    CanalSetup setup;
    std::string error;
    if (!MakeCanalScript(setup, true, error) || !LoadForCanal(runner, error)) {
        state.SkipWithError(error.c_str());
        return;
    }
    size_t points = 0;
    for (auto _ : state)
        for (int i = 0; i < kRuns; ++i)
            if (!CanalRun(runner, setup.script, points, error)) {
                state.SkipWithError(error.c_str());
                return;
            }
    state.counters["runs"] = kRuns;
    state.counters["points"] = static_cast<double>(points);
    state.SetItemsProcessed(state.iterations() * kRuns);
}

void BM_TranThroughPlainNgspice(benchmark::State& state) {
    std::string error;
    if (!LoadForPlain(error)) {
        state.SkipWithError(error.c_str());
        return;
    }
    size_t points = 0;
    for (auto _ : state)
        for (int i = 0; i < kRuns; ++i)
            if (!PlainRun(points, error)) {
                state.SkipWithError(error.c_str());
                return;
            }
    state.counters["runs"] = kRuns;
    state.counters["points"] = static_cast<double>(points);
    state.SetItemsProcessed(state.iterations() * kRuns);
}

/// Processor time of this process, seconds: the simulator runs on the calling
/// thread, so this leaves out time lost to other work on a busy machine.
double CpuSeconds() {
    timespec ts{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &ts);
    return static_cast<double>(ts.tv_sec) + static_cast<double>(ts.tv_nsec) * 1e-9;
}

/// Both, alternating within each iteration so that drift in the machine's
/// load hits both alike. "canal/plain" is the ratio of their processor times,
/// "canal/plain_wall" that of their elapsed times. Argument 1: the default
/// script with its device listing after the run; 0: without it.
void BM_TranCanalOverPlain(benchmark::State& state) {
    host::ScriptRunner runner(host::NgSpiceSession::Get());
    CanalSetup setup;
    std::string error;
    if (!MakeCanalScript(setup, state.range(0) != 0, error)) {
        state.SkipWithError(error.c_str());
        return;
    }
    using Clock = std::chrono::steady_clock;
    double canalSeconds = 0.0, plainSeconds = 0.0, canalWall = 0.0, plainWall = 0.0;
    size_t points = 0;
    for (auto _ : state) {
        if (!LoadForCanal(runner, error)) {
            state.SkipWithError(error.c_str());
            return;
        }
        const double c0 = CpuSeconds();
        auto t0 = Clock::now();
        for (int i = 0; i < kRuns; ++i)
            if (!CanalRun(runner, setup.script, points, error)) {
                state.SkipWithError(error.c_str());
                return;
            }
        auto t1 = Clock::now();
        const double c1 = CpuSeconds();
        if (!LoadForPlain(error)) {
            state.SkipWithError(error.c_str());
            return;
        }
        const double c2 = CpuSeconds();
        auto t2 = Clock::now();
        for (int i = 0; i < kRuns; ++i)
            if (!PlainRun(points, error)) {
                state.SkipWithError(error.c_str());
                return;
            }
        auto t3 = Clock::now();
        const double c3 = CpuSeconds();
        canalSeconds += c1 - c0;
        plainSeconds += c3 - c2;
        canalWall += std::chrono::duration<double>(t1 - t0).count();
        plainWall += std::chrono::duration<double>(t3 - t2).count();
    }
    const double n = static_cast<double>(state.iterations()) * kRuns;
    state.counters["canal_cpu_ms_per_run"] = canalSeconds * 1e3 / n;
    state.counters["plain_cpu_ms_per_run"] = plainSeconds * 1e3 / n;
    state.counters["canal/plain"] = plainSeconds > 0 ? canalSeconds / plainSeconds : 0.0;
    state.counters["canal/plain_wall"] = plainWall > 0 ? canalWall / plainWall : 0.0;
}

} // namespace

BENCHMARK(BM_TranThroughCanal)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_TranThroughPlainNgspice)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_TranCanalOverPlain)
    ->ArgName("show_devices")
    ->Arg(1)
    ->Arg(0)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(3);

BENCHMARK_MAIN();
