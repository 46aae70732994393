// Transient runs through canal and through plain libngspice calls, in one process: framed
// scripts of a small RC circuit, the inner runs of a compound analysis on the amplifier, and
// whole Monte Carlo analyses and parameter sweeps against the loops a user writes by hand.
#include "analyses/core/analysis.h"
#include "analyses/core/analysis_factory.h"
#include "engine/plot_event_sink.h"
#include "host/ngspice/engine.h"
#include "host/ngspice/script_runner.h"
#include "host/ngspice/session.h"
#include "platform/grapher.h"
#include "platform/property.h"

#include <benchmark/benchmark.h>
#include <ngspice/sharedspice.h>

#include <algorithm>
#include <chrono>
#include <cmath>
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

/// Loads `circuit` with ngSpice_Circ, as a plain client would.
bool LoadPlain(std::vector<std::string> lines, std::string& error) {
    (void)host::NgSpiceSession::Get(); // initialises the library once for the process
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

bool LoadForPlain(std::string& error) {
    return LoadPlain(kCircuit, error);
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

// --- inner runs of a compound analysis ------------------------------------------------------

constexpr int kInnerRuns = 100; // per measured batch, alternating canal and plain

// The Monte Carlo reference circuit: a one-transistor amplifier.
const std::vector<std::string> kAmplifier = {
    "common-emitter amplifier",
    "VCC vcc 0 DC 12",
    "VIN in 0 DC 0 AC 1 SIN(0 10m 1k)",
    "RS in b1 1k",
    "C1 b1 b 10u",
    "R1 vcc b 47k",
    "R2 b 0 10k",
    "RC vcc c 4.7k",
    "RE e 0 1k",
    "CE e 0 100u",
    "C2 c out 10u",
    "RL out 0 10k",
    "Q1 c b e QN",
    ".model QN NPN(IS=1e-14 BF=200 VAF=100 CJE=10p CJC=5p TF=0.3n)",
    ".end",
};
const char* const kInnerTran = "tran 20u 2m";

struct Tolerance {
    const char* instance;
    double nominal;
};
constexpr Tolerance kTolerances[] = {{"r1", 47e3}, {"r2", 10e3}, {"rc", 4.7e3}, {"re", 1e3}};

// The value of tolerance t in run `run`: the same deterministic spread on both sides.
double Varied(const Tolerance& t, int run, int index) {
    return t.nominal * (1.0 + 0.05 * std::sin(0.7 * run + 1.3 * index) / 3.0);
}

/// What a Monte Carlo analysis does with each run's events: the maximum of v(out).
class MaximumSink : public CPlotEventSink {
public:
    MaximumSink() : CPlotEventSink("bench", "maximum of v(out)", nullptr) {}
    double maximum = -INFINITY;

private:
    int OUTpBeginPlot(const CSpiceArgs& args) override {
        out_ = args.GetPlotInfo()->FindVector("v(out)");
        maximum = -INFINITY;
        return 1;
    }
    int OUTpData(const CSpiceArgs& args) override {
        const CSpiceDataRow& row = *args.GetDataRow();
        if (out_ >= 0 && static_cast<size_t>(out_) < row.real.size())
            maximum = std::max(maximum, row.real[static_cast<size_t>(out_)]);
        return 1;
    }
    int out_ = -1;
};

/// One inner run through the engine: four parameter changes through the snap-in, then the
/// transient as a silent command whose rows reach the sink as events.
bool EngineRun(host::NgSpiceEngine& engine, const MaximumSink& sink, int run, std::string& error) {
    CInstrumentInterface* snapIn = engine.GetSimulatorSnapIn();
    for (int i = 0; i < 4; ++i) {
        const Tolerance& t = kTolerances[i];
        if (!snapIn->SetProperty(SNAPIN_INSTANCE_PARAMETER,
                                 IITVariant(CStringArray{"", "", t.instance, "resistance"}),
                                 IITVariant(CPropertyItem("resistance", Varied(t, run, i))),
                                 nullptr)) {
            error = engine.LastError();
            return false;
        }
    }
    if (!engine.SilentExecuteSimulatorCommand(kInnerTran) || !std::isfinite(sink.maximum)) {
        error = engine.LastError().empty() ? "no v(out) in the run" : engine.LastError();
        return false;
    }
    benchmark::DoNotOptimize(sink.maximum);
    return true;
}

/// A plain client's alter of the four toleranced resistors for `run`.
void PlainAlterTolerances(int run) {
    for (int i = 0; i < 4; ++i) {
        const Tolerance& t = kTolerances[i];
        std::string alter = std::string("alter @") + t.instance +
                            "[resistance] = " + std::to_string(Varied(t, run, i));
        ngSpice_Command(alter.data());
    }
}

/// A plain client's run and measurement: `tran`, the maximum of vector out, the plot destroyed.
/// `points` (may be null) receives the vector's length.
bool PlainRunAndMeasure(const char* tran, std::string& error, size_t* points = nullptr) {
    ngSpice_Command(const_cast<char*>(tran));
    pvector_info info = ngGet_Vec_Info(const_cast<char*>("out"));
    if (!info || !info->v_realdata) {
        error = "no vector out";
        return false;
    }
    double maximum = -INFINITY;
    for (int k = 0; k < info->v_length; ++k)
        maximum = std::max(maximum, info->v_realdata[k]);
    benchmark::DoNotOptimize(maximum);
    if (points)
        *points = static_cast<size_t>(info->v_length);
    ngSpice_Command(const_cast<char*>("destroy all"));
    return true;
}

/// The same run as a plain client writes it: alter, tran, fetch the vector, destroy the plot.
bool PlainInnerRun(int run, std::string& error) {
    PlainAlterTolerances(run);
    return PlainRunAndMeasure(kInnerTran, error);
}

bool LoadAmplifierPlain(std::string& error) {
    return LoadPlain(kAmplifier, error);
}

/// Per-run overhead of the engine's inner runs (snap-in changes, SilentExecuteSimulatorCommand,
/// plot events to a measuring sink) over plain libngspice doing alter + tran + vector fetch.
/// Both run in each iteration, in turns (which goes first alternates, so that drift in the
/// machine's load hits both alike); "canal/plain" is the ratio of their processor times.
void BM_InnerRunsCanalOverPlain(benchmark::State& state) {
    host::NgSpiceEngine engine(host::NgSpiceSession::Get());
    MaximumSink sink;
    engine.SetAnalysisEventSink(&sink);
    std::string error;
    double canalSeconds = 0.0, plainSeconds = 0.0;
    const auto canal = [&] {
        // A freshly loaded circuit; the engine reads the circuit's members once.
        if (!engine.LoadCircuitLines(kAmplifier, error) || !EngineRun(engine, sink, 0, error))
            return false;
        const double c0 = CpuSeconds();
        for (int run = 1; run <= kInnerRuns; ++run)
            if (!EngineRun(engine, sink, run, error))
                return false;
        canalSeconds += CpuSeconds() - c0;
        return true;
    };
    const auto plain = [&] {
        if (!LoadAmplifierPlain(error) || !PlainInnerRun(0, error))
            return false;
        const double c0 = CpuSeconds();
        for (int run = 1; run <= kInnerRuns; ++run)
            if (!PlainInnerRun(run, error))
                return false;
        plainSeconds += CpuSeconds() - c0;
        return true;
    };
    bool canalFirst = true;
    for (auto _ : state) {
        const bool ok = canalFirst ? canal() && plain() : plain() && canal();
        canalFirst = !canalFirst;
        if (!ok) {
            state.SkipWithError(error.c_str());
            break;
        }
    }
    engine.SetAnalysisEventSink(nullptr);
    const double n = static_cast<double>(state.iterations()) * kInnerRuns;
    state.counters["canal_cpu_ms_per_run"] = canalSeconds * 1e3 / n;
    state.counters["plain_cpu_ms_per_run"] = plainSeconds * 1e3 / n;
    state.counters["overhead_us_per_run"] = (canalSeconds - plainSeconds) * 1e6 / n;
    state.counters["canal/plain"] = plainSeconds > 0 ? canalSeconds / plainSeconds : 0.0;
}

/// The two sides of BM_InnerRunsCanalOverPlain on their own, for counting instructions
/// ("perf stat -e instructions:u" with a filter on each), which load on the machine cannot skew.
void BM_InnerRunsThroughCanal(benchmark::State& state) {
    host::NgSpiceEngine engine(host::NgSpiceSession::Get());
    MaximumSink sink;
    engine.SetAnalysisEventSink(&sink);
    std::string error;
    if (!engine.LoadCircuitLines(kAmplifier, error) || !EngineRun(engine, sink, 0, error)) {
        state.SkipWithError(error.c_str());
        return;
    }
    for (auto _ : state)
        for (int run = 1; run <= kInnerRuns; ++run)
            if (!EngineRun(engine, sink, run, error)) {
                state.SkipWithError(error.c_str());
                return;
            }
    engine.SetAnalysisEventSink(nullptr);
    state.SetItemsProcessed(state.iterations() * kInnerRuns);
}

void BM_InnerRunsThroughPlainNgspice(benchmark::State& state) {
    std::string error;
    (void)host::NgSpiceSession::Get();
    if (!LoadAmplifierPlain(error) || !PlainInnerRun(0, error)) {
        state.SkipWithError(error.c_str());
        return;
    }
    for (auto _ : state)
        for (int run = 1; run <= kInnerRuns; ++run)
            if (!PlainInnerRun(run, error)) {
                state.SkipWithError(error.c_str());
                return;
            }
    state.SetItemsProcessed(state.iterations() * kInnerRuns);
}

// --- whole compound analyses -------------------------------------------------------------

// The transient every run of the analyses below makes, as canal's settings and as ngspice's
// own command (the same step, stop and maximum step).
const char* const kAnalysisTran = "Tran:list{TSTEP:double{2e-05} TSTOP:double{0.002} "
                                  "TSTART:double{0} TMAX:double{2e-05} IC:string{dcop}}";
const char* const kPlainAnalysisTran = "tran 2e-05 0.002 0 2e-05";
constexpr int kMonteRuns = 99; // the nominal run, 99 random runs and the repeated worst run
constexpr int kSweepValues = 50;

std::string ToleranceText(const char* instance) {
    return std::string("TolSpec:list{Distr:int{1} TolClass:int{1} TolType:int{1} "
                       "TolValue:double{5} MemberToSweep:list{name:string{") +
           instance + "} isinst:int{1}} MemberParamToSweep:list{name:string{resistance}}} ";
}

std::string MonteSettings() {
    std::string tolerances;
    for (const Tolerance& t : kTolerances)
        tolerances += ToleranceText(t.instance);
    return "MONTE:list{ANALYSIS:list{AnalysisType:int{2} NumRuns:int{" +
           std::to_string(kMonteRuns) + "} OutputVariable:string{v(out)} " + kAnalysisTran +
           " TolSpecList:list{" + tolerances + "}}}";
}

std::string SweepSettings() {
    std::string values;
    for (int i = 0; i < kSweepValues; ++i)
        values += std::to_string(4000 + 30 * i) + " ";
    return "PSWEEP:list{NODES:list{Nodes:list{NODE:list{Name:string{v(out)} Kind:int{3} "
           "Flags:int{768}}}} ANALYSIS:list{DeviceSweep:list{Variation:int{3} List:array{" +
           values +
           "}} SweepType:int{0} AnalysisType:int{2} InstToSweep:list{name:string{rc} "
           "isinst:int{1}} InstParamToSweep:list{name:string{resistance}} " +
           kAnalysisTran + "}}";
}

/// The framed script of an analysis read from its settings text, as `canal run` builds it.
bool CompoundScript(const char* nickname, const std::string& settings, std::string& script,
                    std::string& error) {
    const std::unique_ptr<Analyses::Analysis> analysis(NewAnalysisByNickname(nickname, nullptr));
    CPropertyItem item;
    if (!analysis || !CPropertyList(CString(settings)).GetNth(0, item) ||
        !analysis->fromPropertyItem(item)) {
        error = std::string("the ") + nickname + " settings were not applied";
        return false;
    }
    script = analysis->toNutmegCommand(-1).str();
    return true;
}

/// One whole analysis through the engine: the framed script with its "orvo" request, the
/// parameter changes, the runs, their measurement and the result page.
bool CanalAnalysis(host::NgSpiceEngine& engine, Analyses& analyses, const std::string& script,
                   size_t& traces, size_t& points, std::string& error) {
    const host::RunResult result = engine.Run(script, &analyses);
    const std::vector<CGrapherPage> pages = engine.TakeGrapherPages();
    if (!result.ok || pages.empty()) {
        error = result.ok ? "the analysis made no page" : result.error;
        return false;
    }
    traces = pages.front().GetTraces().size();
    points = traces ? pages.front().GetTraces().front().x.size() : 0;
    return true;
}

/// The same runs by hand: per run the changes, the transient, the vector fetched and its
/// maximum taken, the plot destroyed.
bool PlainRuns(int runs, bool sweep, size_t& points, std::string& error) {
    for (int run = 0; run < runs; ++run) {
        if (sweep) {
            std::string alter = "alter @rc[resistance] = " + std::to_string(4000 + 30 * run);
            ngSpice_Command(alter.data());
        } else {
            PlainAlterTolerances(run);
        }
        if (!PlainRunAndMeasure(kPlainAnalysisTran, error, &points))
            return false;
    }
    return true;
}

/// A whole Monte Carlo analysis (argument 0) or parameter sweep (1) through canal against plain
/// libngspice making the same number of the same transient runs, alternating which goes first.
/// The circuit is loaded and the analysis made once before the measured ones, so that the
/// one-off reading of the circuit's members (BM_CircuitRead) is not in the ratio.
void BM_AnalysisCanalOverPlain(benchmark::State& state) {
    const bool sweep = state.range(0) != 0;
    const int runs = sweep ? kSweepValues : kMonteRuns + 2;
    host::NgSpiceEngine engine(host::NgSpiceSession::Get());
    Analyses analyses(&engine);
    std::string script, error;
    if (!CompoundScript(sweep ? "PSWEEP" : "MONTE", sweep ? SweepSettings() : MonteSettings(),
                        script, error)) {
        state.SkipWithError(error.c_str());
        return;
    }
    size_t traces = 0, canalPoints = 0, plainPoints = 0;
    double canalSeconds = 0.0, plainSeconds = 0.0;
    const auto canal = [&] {
        if (!engine.LoadCircuitLines(kAmplifier, error) ||
            !CanalAnalysis(engine, analyses, script, traces, canalPoints, error))
            return false;
        const double c0 = CpuSeconds();
        const bool ok = CanalAnalysis(engine, analyses, script, traces, canalPoints, error);
        canalSeconds += CpuSeconds() - c0;
        return ok;
    };
    const auto plain = [&] {
        if (!LoadAmplifierPlain(error) || !PlainRuns(1, sweep, plainPoints, error))
            return false;
        const double c0 = CpuSeconds();
        const bool ok = PlainRuns(runs, sweep, plainPoints, error);
        plainSeconds += CpuSeconds() - c0;
        return ok;
    };
    bool canalFirst = true;
    for (auto _ : state) {
        const bool ok = canalFirst ? canal() && plain() : plain() && canal();
        canalFirst = !canalFirst;
        if (!ok) {
            state.SkipWithError(error.c_str());
            return;
        }
    }
    const double n = static_cast<double>(state.iterations()) * runs;
    state.counters["runs"] = runs;
    state.counters["traces"] = static_cast<double>(traces);
    // Points of a run on either side: equal when both make the same transient.
    state.counters["canal_points"] = static_cast<double>(canalPoints);
    state.counters["plain_points"] = static_cast<double>(plainPoints);
    state.counters["canal_cpu_ms_per_run"] = canalSeconds * 1e3 / n;
    state.counters["plain_cpu_ms_per_run"] = plainSeconds * 1e3 / n;
    state.counters["canal/plain"] = plainSeconds > 0 ? canalSeconds / plainSeconds : 0.0;
}

/// Reading the amplifier's members: device tables, an operating point, every parameter value
/// in forked children.
void BM_CircuitRead(benchmark::State& state) {
    host::NgSpiceEngine engine(host::NgSpiceSession::Get());
    std::string error;
    double seconds = 0.0;
    int round = 0;
    for (auto _ : state) {
        // Another title makes another deck, which the engine reads afresh.
        std::vector<std::string> deck = kAmplifier;
        deck.front() += " " + std::to_string(++round);
        if (!engine.LoadCircuitLines(deck, error)) {
            state.SkipWithError(error.c_str());
            break;
        }
        benchmark::DoNotOptimize(engine.Contents().instances.size());
        seconds += engine.LastReadSeconds();
    }
    state.counters["read_ms"] = seconds * 1e3 / static_cast<double>(state.iterations());
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

BENCHMARK(BM_InnerRunsCanalOverPlain)->Unit(benchmark::kMillisecond)->Iterations(20);
BENCHMARK(BM_InnerRunsThroughCanal)->Unit(benchmark::kMillisecond)->Iterations(10);
BENCHMARK(BM_InnerRunsThroughPlainNgspice)->Unit(benchmark::kMillisecond)->Iterations(10);
BENCHMARK(BM_AnalysisCanalOverPlain)
    ->ArgName("sweep")
    ->Arg(0)
    ->Arg(1)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(10);
BENCHMARK(BM_CircuitRead)->Unit(benchmark::kMillisecond)->Iterations(10);

BENCHMARK_MAIN();
