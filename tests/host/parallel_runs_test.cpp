// `canal run --jobs N` on real ngspice: Monte Carlo, worst case and a nested sweep write the
// same bytes for every N, a worker killed midway costs only its run, and a run made in a worker
// does not depend on what that worker made before.
#include "engine/run_tape.h"
#include "host/ngspice/forked_runs.h"
#include "tests/host/engine_support.h"
#include "tests/support/tool_run.h"

#include <csignal>
#include <cstdlib>
#include <map>

namespace {

using canal_test::ReadAll;
using canal_test::ReadCsv;
using canal_test::Table;
namespace fs = std::filesystem;
using ParallelRunTest = canal_test::ToolRunTest;

// A low pass whose step response the runs measure; small, so that the suite stays quick.
const char* const kLowPass = "low pass\nv1 in 0 pulse(0 1 0 10u 10u 1m 2m)\nr1 in out 1k\n"
                             "c1 out 0 100n\nr2 out 0 10k\n.end\n";
const char* const kTran = "Tran:list{TSTEP:double{2e-05} TSTOP:double{0.0005} TSTART:double{0} "
                          "TMAX:double{2e-05}} ";

std::string Tolerance(const std::string& instance, const std::string& parameter, double percent) {
    return "TolSpec:list{Distr:int{1} TolClass:int{1} TolType:int{1} TolValue:double{" +
           std::to_string(percent) + "} MemberToSweep:list{name:string{" + instance +
           "} isinst:int{1}} MemberParamToSweep:list{name:string{" + parameter + "}}} ";
}

// Worst case or Monte Carlo of the low pass's output at its largest, over a transient.
std::string WcMc(const std::string& nickname, int runs) {
    return nickname +
           ":list{ANALYSIS:list{AnalysisType:int{2} OutputVariable:string{v(out)} NumRuns:int{" +
           std::to_string(runs) + "} " + kTran + "TolSpecList:list{" +
           Tolerance("r1", "resistance", 10) + Tolerance("c1", "capacitance", 20) +
           Tolerance("r2", "resistance", 5) + "}}}\n";
}

// Every file a run wrote, by name.
std::map<std::string, std::string> Files(const fs::path& dir) {
    std::map<std::string, std::string> files;
    for (const auto& entry : fs::directory_iterator(dir))
        files[entry.path().filename().string()] = ReadAll(entry.path());
    return files;
}

// Sets an environment variable for one scope.
class ScopedEnv {
public:
    ScopedEnv(const char* name, const char* value) : name_(name) { ::setenv(name, value, 1); }
    ~ScopedEnv() { ::unsetenv(name_); }
    ScopedEnv(const ScopedEnv&) = delete;
    ScopedEnv& operator=(const ScopedEnv&) = delete;

private:
    const char* name_;
};

class ParallelRuns : public ParallelRunTest {
protected:
    // Runs the analysis with --jobs `jobs` into its own folder; the files written.
    std::map<std::string, std::string> RunWith(const std::string& nickname,
                                               const std::string& settings, const char* jobs,
                                               int status = cli::ExitOk) {
        const fs::path out = dir_ / (nickname + "-" + jobs + "-" + std::to_string(++runs_));
        EXPECT_EQ(Run({Write("c.cir", kLowPass).string(), nickname, "--settings",
                       Write("s.prop", settings).string(), "--seed", "11", "--jobs", jobs, "--out",
                       out.string()}),
                  status)
            << nickname << " --jobs " << jobs;
        return Files(out);
    }
    // The same files, byte for byte, whether the runs were made here or by two or three workers.
    void ExpectSameForAnyJobs(const std::string& nickname, const std::string& settings,
                              const std::vector<std::string>& mustHave) {
        const auto here = RunWith(nickname, settings, "1");
        for (const std::string& name : mustHave)
            EXPECT_TRUE(here.count(name)) << name;
        for (const char* jobs : {"2", "3"}) {
            const auto there = RunWith(nickname, settings, jobs);
            ASSERT_EQ(there.size(), here.size()) << jobs;
            for (const auto& [name, bytes] : here)
                EXPECT_TRUE(there.at(name) == bytes) << name << " differs with --jobs " << jobs;
        }
    }
    int runs_ = 0;
};

TEST_F(ParallelRuns, MonteCarloWritesTheSameBytesForAnyNumberOfJobs) {
    ExpectSameForAnyJobs("MONTE", WcMc("MONTE", 9),
                         {"runs.csv", "results.txt", "01-monte-carlo-analysis.csv"});
    EXPECT_NE(out_.str().find("MONTE: 11 runs, 11 valid"), std::string::npos) << out_.str();
}

TEST_F(ParallelRuns, WorstCaseWritesTheSameBytesForAnyNumberOfJobs) {
    ExpectSameForAnyJobs("WORST", WcMc("WORST", 1),
                         {"runs.csv", "results.txt", "01-worst-case-analysis.csv"});
    // The nominal run, one per tolerance and the worst case.
    EXPECT_EQ(ReadCsv(dir_ / "WORST-3-3" / "runs.csv").rows.size(), 5u);
}

TEST_F(ParallelRuns, NestedSweepWritesTheSameBytesForAnyNumberOfJobs) {
    const std::string settings =
        "PSWEEP:list{NODES:list{Nodes:list{NODE:list{Name:string{v(out)} Kind:int{3} "
        "Flags:int{768}}}} ANALYSIS:list{DeviceSweep:list{Variation:int{3} "
        "List:array{500 1000 2000 4000}} SweepType:int{0} AnalysisType:int{3} "
        "InstToSweep:list{name:string{r1} isinst:int{1}} "
        "InstParamToSweep:list{name:string{resistance}} "
        "TSWEEP:list{SweepType:int{2} AnalysisType:int{2} " +
        std::string(kTran) + "TemperatureSweep:list{Variation:int{3} List:array{250 350}}}}}\n";
    ExpectSameForAnyJobs("PSWEEP", settings, {"results.txt", "01-parameter-sweep.csv"});
    const Table page = ReadCsv(dir_ / "PSWEEP-1-1" / "01-parameter-sweep.csv");
    EXPECT_EQ(page.header.size(), 1u + 4 * 2) << "a trace per resistance and temperature";
}

TEST_F(ParallelRuns, AKilledWorkerCostsOnlyItsRun) {
    const std::string settings = WcMc("MONTE", 6);
    const auto here = RunWith("MONTE", settings, "1");
    {
        // Run #4's worker dies on its first attempt: the retry in a fresh worker makes it.
        const ScopedEnv kill("CANAL_TEST_WORKER_KILL", "3");
        const auto retried = RunWith("MONTE", settings, "2");
        for (const char* name : {"runs.csv", "results.txt", "01-monte-carlo-analysis.csv"})
            EXPECT_TRUE(retried.at(name) == here.at(name)) << name;
    }
    // It dies on every attempt: that run is logged failed with how its worker ended, the
    // others are what they were.
    const ScopedEnv kill("CANAL_TEST_WORKER_KILL", "3:always");
    const auto failed = RunWith("MONTE", settings, "2");
    const Table runs = ReadCsv(dir_ / "MONTE-2-3" / "runs.csv");
    const Table expected = ReadCsv(dir_ / "MONTE-1-1" / "runs.csv");
    ASSERT_EQ(runs.rows.size(), expected.rows.size());
    const size_t valid = runs.Column("valid");
    for (size_t r = 0; r + 1 < runs.rows.size(); ++r) {
        if (r == 4) {
            EXPECT_EQ(runs.rows[r][valid], 0.0);
            continue;
        }
        for (size_t c = 0; c < runs.header.size(); ++c) {
            if (c == 1) // the label is text
                continue;
            EXPECT_EQ(runs.rows[r][c], expected.rows[r][c]) << r << " " << runs.header[c];
        }
    }
    EXPECT_NE(failed.at("results.txt")
                  .find("Run #4: no valid measurement (the simulator reported a failure)"),
              std::string::npos);
    EXPECT_NE(failed.at("log.txt").find("ended by signal 9"), std::string::npos)
        << failed.at("log.txt");
}

// Passes the outcomes through and keeps their bytes.
class KeepingDistributor final : public CRunDistributor {
public:
    explicit KeepingDistributor(CRunDistributor& inner) : inner_(inner) {}
    bool Map(size_t count, const Job& job, const Take& take) override {
        return inner_.Map(count, job, [&](size_t i, const CRunOutcome& outcome) {
            bytes.push_back(outcome.bytes);
            return take(i, outcome);
        });
    }
    std::vector<std::string> bytes;

private:
    CRunDistributor& inner_;
};

using WorkerHistory = canal_test::EngineTest;

TEST_F(WorkerHistory, ARunMadeAfterOtherRunsEqualsTheSameRunInAFreshWorker) {
    Load({"low pass", "v1 in 0 pulse(0 1 0 10u 10u 1m 2m)", "r1 in out 1k", "c1 out 0 100n",
          "r2 out 0 10k"});
    const std::vector<double> values = {1500, 700, 1200};
    const auto job = [&](size_t i) {
        SetInstance("", "", "r1", "resistance", values[i]);
        engine_.RunSimulatorCommand("tran 2e-05 0.0005 0 2e-05");
    };
    // One worker makes all three runs, one after the other; then the last one alone.
    host::ForkedRunDistributor one(1, &host::NgSpiceSession::Get());
    KeepingDistributor inTurn(one);
    engine_.SetRunDistributor(&inTurn);
    EXPECT_TRUE(engine_.MapRuns(values.size(), job, [](size_t) { return true; }));
    KeepingDistributor alone(one);
    engine_.SetRunDistributor(&alone);
    EXPECT_TRUE(engine_.MapRuns(
        1, [&](size_t) { job(2); }, [](size_t) { return true; }));
    engine_.SetRunDistributor(nullptr);
    ASSERT_EQ(inTurn.bytes.size(), 3u);
    ASSERT_EQ(alone.bytes.size(), 1u);
    EXPECT_GT(inTurn.bytes[2].size(), 1000u) << "the run sent its plot";
    EXPECT_TRUE(inTurn.bytes[2] == alone.bytes[0]);
    EXPECT_FALSE(inTurn.bytes[1] == alone.bytes[0]) << "another value, another run";
}

TEST_F(WorkerHistory, WhatNgspicePrintedBeforeAWorkerCrashedIsInTheFailure) {
    Load({"low pass", "v1 in 0 dc 1", "r1 in out 1k", "c1 out 0 100n"});
    host::ForkedRunDistributor workers(2, &host::NgSpiceSession::Get());
    std::vector<CRunOutcome> outcomes;
    EXPECT_TRUE(workers.Map(
        2,
        [&](size_t i) {
            if (i == 1) {
                (void)host::NgSpiceSession::Get().Command("print v(nowhere)");
                ::raise(SIGSEGV);
            }
            return std::string("fine");
        },
        [&](size_t, const CRunOutcome& o) {
            outcomes.push_back(o);
            return true;
        }));
    ASSERT_EQ(outcomes.size(), 2u);
    EXPECT_TRUE(outcomes[0].ok);
    EXPECT_FALSE(outcomes[1].ok);
    // "signal 11", or under a sanitizer, which turns the crash into an exit, "exit status 1".
    EXPECT_NE(outcomes[1].error.find("run 2 ended by "), std::string::npos) << outcomes[1].error;
    EXPECT_NE(outcomes[1].error.find("nowhere"), std::string::npos) << outcomes[1].error;
}

TEST(ForkedRuns, OutcomesComeInOrderAndFailuresStoppingAndHangsCostOnlyTheirJobs) {
    // Later jobs finish first; outcomes still arrive in order. A throwing job is failed.
    host::ForkedRunDistributor workers(3);
    std::vector<std::string> taken;
    EXPECT_TRUE(workers.Map(
        6,
        [](size_t i) {
            ::usleep(static_cast<useconds_t>((6 - i) * 3000));
            if (i == 4)
                throw std::runtime_error("no convergence");
            return "job " + std::to_string(i);
        },
        [&](size_t i, const CRunOutcome& o) {
            taken.push_back(std::to_string(i) + (o.ok ? ": " + o.bytes : " failed: " + o.error));
            return true;
        }));
    EXPECT_EQ(taken, (std::vector<std::string>{"0: job 0", "1: job 1", "2: job 2", "3: job 3",
                                               "4 failed: no convergence", "5: job 5"}));

    // A job that hangs is ended by the timeout, made once more, then reported failed.
    host::ForkedRunDistributor patient(2);
    patient.SetRunTimeout(0.3);
    taken.clear();
    EXPECT_TRUE(patient.Map(
        3,
        [](size_t i) {
            if (i == 1)
                ::pause();
            return std::string("done");
        },
        [&](size_t i, const CRunOutcome& o) {
            taken.push_back(std::to_string(i) + (o.ok ? " ok" : " " + o.error));
            return true;
        }));
    ASSERT_EQ(taken.size(), 3u);
    EXPECT_EQ(taken[0], "0 ok");
    EXPECT_NE(taken[1].find("timeout"), std::string::npos) << taken[1];
    EXPECT_EQ(taken[2], "2 ok");

    // A stop request ends the map: what was taken stays, nothing after it is taken.
    size_t takes = 0;
    host::ForkedRunDistributor stopping(2, nullptr, [&] { return takes >= 2; });
    EXPECT_FALSE(stopping.Map(
        50,
        [](size_t) {
            ::usleep(20000);
            return std::string();
        },
        [&](size_t i, const CRunOutcome&) {
            EXPECT_EQ(i, takes);
            ++takes;
            return true;
        }));
    EXPECT_GE(takes, 2u);
    EXPECT_LT(takes, 50u);
}

} // namespace
