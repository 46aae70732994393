// Whole-process wall time of a 500-run Monte Carlo: ngspice's own control-language loop against
// `canal run ... MONTE` with one and two jobs, and the tool's fixed costs that bound the ratio.
#include "cli/compound_run.h"
#include "cli/run.h"
#include "cli/settings.h"
#include "report/report.h"

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace fs = std::filesystem;

namespace {

#ifndef CANAL_TOOL_PATH
#define CANAL_TOOL_PATH "canal"
#endif
#ifndef CANAL_BENCH_DATA
#define CANAL_BENCH_DATA "bench/data"
#endif

// The transient both sides run: ngspice's loop says "tran 20u 2m"; canal's settings store
// TSTEP 2e-05, TSTOP 0.002, TSTART 0 and TMAX 0, which the host hands to ngspice as
// "tran 2e-05 0.002 0 0" (a maximum step of 0 is ngspice's default, as when it is left out).
constexpr const char* kPlannedTran = "tran  -env-options 2e-05 0.002 0 0";
constexpr int kRuns = 500;

struct Options {
    std::string canal = CANAL_TOOL_PATH;
    std::string ngspice = "ngspice";
    fs::path data = CANAL_BENCH_DATA;
    int repeat = 5;
};

struct Finished {
    int status = -1; // exit status, or 128 + signal
    double seconds = 0;
    std::string out;
    std::string err;
};

std::string ReadFile(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

void WriteFile(const fs::path& path, const std::string& text) {
    std::ofstream out(path, std::ios::binary);
    out << text;
    if (!out)
        throw std::runtime_error("cannot write " + path.string());
}

size_t Count(const std::string& text, const std::string& what) {
    size_t n = 0;
    for (size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1))
        ++n;
    return n;
}

// Replaces the one occurrence of `from` in `text`; a reference file that changed shape must
// not silently benchmark something else.
std::string ReplaceOnce(std::string text, const std::string& from, const std::string& to) {
    const size_t at = text.find(from);
    if (at == std::string::npos || text.find(from, at + 1) != std::string::npos)
        throw std::runtime_error("expected \"" + from + "\" exactly once in a reference file");
    return text.replace(at, from.size(), to);
}

// Runs a program in `dir` with stdout and stderr in files there; the time covers fork, exec,
// the whole run and the wait, as a user waits for it.
Finished Run(const std::vector<std::string>& argv, const fs::path& dir) {
    const fs::path outPath = dir / ".stdout", errPath = dir / ".stderr";
    std::vector<char*> args;
    for (const std::string& a : argv)
        args.push_back(const_cast<char*>(a.c_str()));
    args.push_back(nullptr);

    const auto start = std::chrono::steady_clock::now();
    const pid_t pid = fork();
    if (pid < 0)
        throw std::runtime_error("fork failed");
    if (pid == 0) {
        const int out = open(outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        const int err = open(errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        if (out < 0 || err < 0 || chdir(dir.c_str()) != 0 || dup2(out, 1) < 0 || dup2(err, 2) < 0)
            _exit(126);
        execvp(args[0], args.data());
        _exit(127);
    }
    int raw = 0;
    while (waitpid(pid, &raw, 0) < 0) {
    }
    Finished done;
    done.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    done.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : 128 + WTERMSIG(raw);
    done.out = ReadFile(outPath);
    done.err = ReadFile(errPath);
    return done;
}

Finished RunOk(const std::vector<std::string>& argv, const fs::path& dir) {
    Finished done = Run(argv, dir);
    if (done.status != 0) {
        std::string line;
        for (const std::string& a : argv)
            line += a + " ";
        throw std::runtime_error(line + "ended with status " + std::to_string(done.status) + ":\n" +
                                 done.err + done.out);
    }
    return done;
}

double Median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    const size_t n = values.size();
    return n % 2 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2;
}

// The number after `key` in `text`, e.g. "mean(vmax) = 1.12e+00".
std::optional<double> NumberAfter(const std::string& text, const std::string& key) {
    const size_t at = text.find(key);
    if (at == std::string::npos)
        return std::nullopt;
    return std::strtod(text.c_str() + at + key.size(), nullptr);
}

// What `canal plan` shows must be what the native loop does: per run the four resistances set,
// then the same transient; the maximum of v(out) measured. Returns the problems found.
std::vector<std::string> CheckPlan(const std::string& plan) {
    std::vector<std::string> problems;
    std::istringstream lines(plan);
    std::string line;
    int transients = 0, badTransients = 0, badParameters = 0;
    std::vector<std::string> names;
    bool measuresMax = false, measuresOut = false;
    while (std::getline(lines, line)) {
        if (line.rfind("param 2018 - - ", 0) == 0) {
            names.push_back(line.substr(15, line.find(' ', 15) - 15));
        } else if (line.rfind("exec: ", 0) == 0) {
            ++transients;
            const size_t semicolon = line.rfind("; ");
            std::string command =
                semicolon == std::string::npos ? line.substr(6) : line.substr(semicolon + 2);
            command.erase(command.find_last_not_of(' ') + 1);
            if (command != kPlannedTran) {
                if (badTransients++ == 0)
                    problems.push_back("run " + std::to_string(transients) + " asks \"" + command +
                                       "\", not \"" + kPlannedTran + "\"");
            }
            if (names != std::vector<std::string>{"r1", "r2", "rc", "re"} && badParameters++ == 0)
                problems.push_back("run " + std::to_string(transients) +
                                   " does not set exactly r1, r2, rc and re first");
            names.clear();
        } else if (line == "log: Function: MAX") {
            measuresMax = true;
        } else if (line == "log: Output variable: v(out)") {
            measuresOut = true;
        }
    }
    // The nominal run, the random runs and the repeat of the worst one.
    if (transients != kRuns + 2)
        problems.push_back("plan has " + std::to_string(transients) + " transients, not " +
                           std::to_string(kRuns + 2));
    if (!measuresMax || !measuresOut)
        problems.push_back("plan does not measure the maximum of v(out)");
    return problems;
}

// The tool's steps of `canal run CIRCUIT MONTE`, timed one by one in a fresh child process (so
// that ngspice starts afresh each time), in seconds.
struct Phases {
    double settings = 0; // the settings file read into an analysis
    double init = 0;     // ngspice started, the engine made
    double load = 0;     // the circuit loaded
    double check = 0;    // the circuit read and the settings checked against it
    double simulate = 0; // every run made, the results gathered
    double write = 0;    // the result files written
};

Phases MeasurePhasesInChild(const fs::path& work, const std::string& settings,
                            const std::string& outDir) {
    int channel[2];
    if (pipe(channel) != 0)
        throw std::runtime_error("pipe failed");
    // The child would print what this process still holds in its buffer a second time.
    std::fflush(nullptr);
    const pid_t pid = fork();
    if (pid < 0)
        throw std::runtime_error("fork failed");
    if (pid == 0) {
        close(channel[0]);
        Phases p;
        std::ostringstream sink;
        using Clock = std::chrono::steady_clock;
        auto mark = Clock::now();
        auto lap = [&mark](double& into) {
            const auto now = Clock::now();
            into = std::chrono::duration<double>(now - mark).count();
            mark = now;
        };
        const std::string settingsPath = (work / settings).string();
        const std::string circuit = (work / "amp.cir").string();
        const std::string dir = (work / outDir).string();
        int status = 0;
        std::unique_ptr<Analyses::Analysis> analysis =
            cli::LoadAnalysis("MONTE", &settingsPath, sink, status);
        lap(p.settings);
        bool ok = analysis != nullptr;
        if (ok) {
            fs::create_directories(dir);
            cli::CircuitRun run(sink, dir);
            lap(p.init);
            std::string error;
            ok = run.Load(circuit, error);
            lap(p.load);
            ok = ok && cli::CheckCompoundAnalysis(run.Engine(), *analysis, circuit, sink) == 0;
            lap(p.check);
            report::Report result;
            result.title = "amp.cir - MONTE";
            result.circuit = circuit;
            result.sections.push_back(run.Simulate(*analysis));
            ok = ok && result.sections.back().ok;
            lap(p.simulate);
            ok = ok && cli::WriteAndSummarize(result, dir, sink, sink);
            lap(p.write);
        }
        const bool sent = ok && write(channel[1], &p, sizeof p) == static_cast<ssize_t>(sizeof p);
        // Straight out, as the timing ends here; the parent only needs the numbers.
        _exit(sent ? 0 : 1);
    }
    close(channel[1]);
    Phases p;
    const ssize_t got = read(channel[0], &p, sizeof p);
    close(channel[0]);
    int raw = 0;
    while (waitpid(pid, &raw, 0) < 0) {
    }
    if (got != static_cast<ssize_t>(sizeof p) || !WIFEXITED(raw) || WEXITSTATUS(raw) != 0)
        throw std::runtime_error("the in-process steps of canal run MONTE failed");
    return p;
}

void PrintRow(const char* what, double seconds, const char* note = "") {
    std::printf("  %-56s %8.1f ms  %s\n", what, seconds * 1e3, note);
}

int Main(const Options& options) {
    char pattern[] = "/tmp/canal-bench-mc-XXXXXX";
    if (!mkdtemp(pattern))
        throw std::runtime_error("cannot make a work folder");
    const fs::path work = pattern;
    for (const char* name : {"amp.cir", "native-mc.sp", "amp.monte.prop"})
        fs::copy_file(options.data / name, work / name);
    const std::string native = ReadFile(work / "native-mc.sp");
    const std::string monte = ReadFile(work / "amp.monte.prop");
    WriteFile(work / "native-mc-1.sp", ReplaceOnce(native, "let nruns = 500", "let nruns = 1"));
    WriteFile(work / "amp.monte-1.prop", ReplaceOnce(monte, "NumRuns:int{500}", "NumRuns:int{1}"));
    // The native loop's own text: one transient, the maximum of v(out), four 5% Gaussian
    // tolerances with the tolerance as three sigma.
    if (Count(native, "tran 20u 2m") != 1 || Count(native, "maximum(v(out))") != 1 ||
        Count(native, "(1 + 0.05 * sgauss(0) / 3)") != 4)
        throw std::runtime_error("native-mc.sp is not the reference loop this bench expects");
    std::printf("Monte Carlo, %d transient runs of the reference amplifier (work folder %s)\n",
                kRuns, work.c_str());

    const std::string& canal = options.canal;
    const std::vector<std::string> plan = {canal, "plan", "MONTE", "--settings", "amp.monte.prop"};
    const std::vector<std::string> problems = CheckPlan(RunOk(plan, work).out);
    for (const std::string& p : problems)
        std::printf("  PLAN MISMATCH: %s\n", p.c_str());
    if (problems.empty())
        std::printf("  canal plan: %d x (set r1 r2 rc re; \"%s\"), MAX of v(out): matches the "
                    "native loop's \"tran 20u 2m\" and maximum(v(out))\n",
                    kRuns + 2, kPlannedTran);

    auto canalRun = [&](const char* settings, const char* out, int jobs) {
        std::vector<std::string> argv = {canal,        "run",    "amp.cir", "MONTE",
                                         "--settings", settings, "--out",   out};
        if (jobs > 0) {
            argv.push_back("--jobs");
            argv.push_back(std::to_string(jobs));
        }
        return argv;
    };
    // A tool without --jobs answers 2 and names the option; then jobs 1 is the plain run.
    const Finished probe = Run(canalRun("amp.monte-1.prop", "probe", 1), work);
    const bool jobs = probe.status == 0;
    if (!jobs && !(probe.status == 2 && probe.err.find("--jobs") != std::string::npos))
        throw std::runtime_error("canal run failed:\n" + probe.err);
    if (!jobs)
        std::printf("  this canal has no --jobs: jobs 1 is measured without the option, jobs 2 "
                    "is unavailable\n");

    const std::vector<std::string> nativeArgs = {options.ngspice, "-b", "native-mc.sp"};
    const std::vector<std::string> one = canalRun("amp.monte.prop", "mc-jobs1", jobs ? 1 : 0);
    const std::vector<std::string> two = canalRun("amp.monte.prop", "mc-jobs2", 2);

    // Both sides once untimed (page cache, dynamic loader), and a look at their results.
    const Finished nativeWarm = RunOk(nativeArgs, work);
    RunOk(one, work);
    const std::string results = ReadFile(work / "mc-jobs1" / "results.txt");
    const auto nativeMean = NumberAfter(nativeWarm.out, "mean(vmax) = ");
    const auto canalMean = NumberAfter(results, "\nMean: ");
    if (!nativeMean || !canalMean)
        throw std::runtime_error("no mean in the native output or in canal's results.txt");
    std::printf("  mean of max v(out): native %.5f, canal %.5f (different random streams; "
                "%.2f%% apart)\n",
                *nativeMean, *canalMean, 100 * std::abs(*canalMean / *nativeMean - 1));

    std::map<std::string, std::vector<double>> times;
    for (int r = 0; r < options.repeat; ++r) {
        // Interleaved, so that a slow moment of the machine hits every variant alike.
        times["native"].push_back(RunOk(nativeArgs, work).seconds);
        times["jobs1"].push_back(RunOk(one, work).seconds);
        if (jobs)
            times["jobs2"].push_back(RunOk(two, work).seconds);
        times["native1"].push_back(RunOk({options.ngspice, "-b", "native-mc-1.sp"}, work).seconds);
        times["canal1"].push_back(
            RunOk(canalRun("amp.monte-1.prop", "mc-one", jobs ? 1 : 0), work).seconds);
        times["version"].push_back(RunOk({canal, "--version"}, work).seconds);
        times["members"].push_back(RunOk({canal, "members", "amp.cir"}, work).seconds);
        times["op"].push_back(
            RunOk({canal, "run", "amp.cir", "OP", "--save", "v(out)", "--out", "op"}, work)
                .seconds);
    }
    std::map<std::string, double> t;
    for (const auto& [name, values] : times)
        t[name] = Median(values);
    bool identical = true;
    if (jobs) {
        for (const char* file : {"runs.csv", "results.txt"})
            identical = identical &&
                        ReadFile(work / "mc-jobs1" / file) == ReadFile(work / "mc-jobs2" / file);
        std::printf("  runs.csv and results.txt of --jobs 1 and --jobs 2: %s\n",
                    identical ? "identical" : "DIFFERENT");
    }

    std::printf("\nWall time, median of %d (whole process: fork, exec, run, exit)\n",
                options.repeat);
    PrintRow("ngspice -b native-mc.sp", t["native"]);
    PrintRow(jobs ? "canal run amp.cir MONTE --jobs 1" : "canal run amp.cir MONTE", t["jobs1"]);
    if (jobs)
        PrintRow("canal run amp.cir MONTE --jobs 2", t["jobs2"]);

    std::printf("\nFixed costs (each row a whole process) and cost per run\n");
    PrintRow("canal --version: process start, libraries loaded", t["version"]);
    PrintRow("canal members: + ngspice init, load, circuit read", t["members"]);
    PrintRow("canal run OP: + ngspice init, load, 1 op, 4 files", t["op"]);
    PrintRow("canal run MONTE, 1 run: + read, checks, 3 trans, 8 files", t["canal1"]);
    PrintRow("ngspice -b, loop of 1 run: ngspice's own fixed cost", t["native1"]);
    const double canalPerRun = (t["jobs1"] - t["canal1"]) / (kRuns - 1);
    const double nativePerRun = (t["native"] - t["native1"]) / (kRuns - 1);
    std::printf("  %-56s %8.1f us\n", "canal per run: (500 runs - 1 run) / 499", canalPerRun * 1e6);
    std::printf("  %-56s %8.1f us\n", "ngspice loop per run: (500 runs - 1 run) / 499",
                nativePerRun * 1e6);

    // The same steps inside one process, each timed; medians over fresh child processes.
    for (const auto& [settings, runs] : std::vector<std::pair<std::string, int>>{
             {"amp.monte-1.prop", 1}, {"amp.monte.prop", kRuns}}) {
        std::vector<Phases> all;
        for (int r = 0; r < options.repeat; ++r)
            all.push_back(MeasurePhasesInChild(work, settings, "phases"));
        auto median = [&](double Phases::*field) {
            std::vector<double> v;
            for (const Phases& p : all)
                v.push_back(p.*field);
            return Median(v) * 1e3;
        };
        std::printf("  canal's steps, MONTE of %3d run(s), in process: settings %.1f, ngspice "
                    "init %.1f, load %.1f, circuit read + checks %.1f, runs %.1f, writing %.1f "
                    "ms\n",
                    runs, median(&Phases::settings), median(&Phases::init), median(&Phases::load),
                    median(&Phases::check), median(&Phases::simulate), median(&Phases::write));
    }

    const double ratio1 = t["jobs1"] / t["native"];
    std::printf("\nRatio canal / ngspice's own loop\n");
    std::printf("  jobs 1: %.3f  (target <= 1.1: %s)%s\n", ratio1, ratio1 <= 1.1 ? "met" : "MISSED",
                jobs ? "" : "  [without --jobs]");
    if (jobs) {
        const double ratio2 = t["jobs2"] / t["native"];
        std::printf("  jobs 2: %.3f  (target <= 0.6: %s)\n", ratio2,
                    ratio2 <= 0.6 ? "met" : "MISSED");
    } else {
        std::printf("  jobs 2: unavailable (this canal has no --jobs)\n");
    }
    // What two processes could reach at best: the one-run cost once, the other runs halved.
    std::printf("  jobs 2 at best (1-run cost + the other runs' time / 2): %.3f\n",
                (t["canal1"] + (t["jobs1"] - t["canal1"]) / 2) / t["native"]);
    fs::remove_all(work);
    return problems.empty() && identical ? 0 : 1;
}

} // namespace

int main(int argc, char** argv) {
    Options options;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        const bool hasValue = i + 1 < argc;
        if (arg == "--canal" && hasValue)
            options.canal = argv[++i];
        else if (arg == "--ngspice" && hasValue)
            options.ngspice = argv[++i];
        else if (arg == "--data" && hasValue)
            options.data = argv[++i];
        else if (arg == "--repeat" && hasValue)
            options.repeat = std::max(1, std::atoi(argv[++i]));
        else {
            std::fprintf(stderr,
                         "usage: %s [--canal PATH] [--ngspice PATH] [--data DIR] [--repeat N]\n",
                         argv[0]);
            return 2;
        }
    }
    try {
        return Main(options);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "bench: %s\n", e.what());
        return 1;
    }
}
