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

namespace fs = std::filesystem;
using canal_test::Saved;
using canal_test::Table;
using canal_test::Tolerance;

// A low pass whose step response the runs measure; small, so that the suite stays quick.
const char* const kLowPass = "low pass\nv1 in 0 pulse(0 1 0 10u 10u 1m 2m)\nr1 in out 1k\n"
                             "c1 out 0 100n\nr2 out 0 10k\n.end\n";
const char* const kTran = "Tran:list{TSTEP:double{2e-05} TSTOP:double{0.0005} TSTART:double{0} "
                          "TMAX:double{2e-05}} ";

// Worst case or Monte Carlo of the low pass's output at its largest, over a transient.
std::string WcMc(const std::string& nickname, int runs) {
    return nickname +
           ":list{ANALYSIS:list{AnalysisType:int{2} OutputVariable:string{v(out)} NumRuns:int{" +
           std::to_string(runs) + "} " + kTran + "TolSpecList:list{" + Tolerance("r1", 10) +
           Tolerance("c1", 20, 1, "capacitance") + Tolerance("r2", 5) + "}}}\n";
}

class ParallelRuns : public canal_test::ToolRunTest {
protected:
    // Runs the analysis with --jobs `jobs` into the folder NICKNAME-JOBS-COUNT; the files
    // written there, by name.
    std::map<std::string, std::string> RunWith(const std::string& nickname,
                                               const std::string& settings, const char* jobs) {
        const std::string out = nickname + "-" + jobs + "-" + std::to_string(++runs_);
        EXPECT_EQ(RunTo(out, Write("c.cir", kLowPass), nickname, settings,
                        {"--seed", "11", "--jobs", jobs}),
                  cli::ExitOk)
            << nickname << " --jobs " << jobs;
        std::map<std::string, std::string> files;
        for (const auto& entry : fs::directory_iterator(Path(out)))
            files[entry.path().filename().string()] =
                Read(out + "/" + entry.path().filename().string());
        return files;
    }
    int runs_ = 0;
};

TEST_F(ParallelRuns, CompoundAnalysesWriteTheSameBytesForAnyNumberOfJobs) {
    const std::string nested =
        "PSWEEP:list{" + Saved("v(out)") +
        "ANALYSIS:list{DeviceSweep:list{Variation:int{3} "
        "List:array{500 1000 2000 4000}} SweepType:int{0} AnalysisType:int{3} "
        "InstToSweep:list{name:string{r1} isinst:int{1}} "
        "InstParamToSweep:list{name:string{resistance}} "
        "TSWEEP:list{SweepType:int{2} AnalysisType:int{2} " +
        std::string(kTran) + "TemperatureSweep:list{Variation:int{3} List:array{250 350}}}}}\n";
    const struct {
        const char* nickname;
        std::string settings;
        const char* file; ///< one of the files that must be there
    } cases[] = {{"WORST", WcMc("WORST", 1), "01-worst-case-analysis.csv"},
                 {"PSWEEP", nested, "01-parameter-sweep.csv"},
                 {"MONTE", WcMc("MONTE", 9), "01-monte-carlo-analysis.csv"}};
    for (const auto& c : cases) {
        const auto here = RunWith(c.nickname, c.settings, "1");
        EXPECT_TRUE(here.count(c.file) && here.count("results.txt")) << c.nickname;
        for (const char* jobs : {"2", "3"})
            EXPECT_TRUE(RunWith(c.nickname, c.settings, jobs) == here)
                << c.nickname << " differs with --jobs " << jobs;
    }
    // The worst case's runs are the nominal, one per tolerance and the worst case; the sweep
    // has a trace per resistance and temperature.
    EXPECT_EQ(Csv("WORST-3-3/runs.csv").rows.size(), 5u);
    EXPECT_EQ(Csv("PSWEEP-1-4/01-parameter-sweep.csv").header.size(), 1u + 4 * 2);
    EXPECT_NE(out_.str().find("MONTE: 11 runs, 11 valid"), std::string::npos) << out_.str();
}

// Sets an environment variable for one scope.
struct ScopedEnv {
    ScopedEnv(const char* name, const char* value) : name_(name) { ::setenv(name, value, 1); }
    ~ScopedEnv() { ::unsetenv(name_); }
    const char* name_;
};

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
    const Table runs = Csv("MONTE-2-3/runs.csv"), expected = Csv("MONTE-1-1/runs.csv");
    ASSERT_EQ(runs.rows.size(), expected.rows.size());
    const size_t valid = runs.Column("valid");
    for (size_t r = 0; r + 1 < runs.rows.size(); ++r) {
        for (size_t c = 0; c < runs.header.size(); ++c) {
            if (c == 1 || (r == 4 && c != valid))
                continue; // the label is text; the failed run has no values
            EXPECT_EQ(runs.rows[r][c], r == 4 ? 0.0 : expected.rows[r][c]) << r << " " << c;
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
    KeepingDistributor inTurn(one), alone(one);
    engine_.SetRunDistributor(&inTurn);
    EXPECT_TRUE(engine_.MapRuns(values.size(), job, [](size_t) { return true; }));
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

// Each outcome as text, "INDEX: BYTES" or "INDEX failed: ERROR".
std::vector<std::string> Outcomes(host::ForkedRunDistributor& workers, size_t count,
                                  const CRunDistributor::Job& job, bool* finished = nullptr) {
    std::vector<std::string> taken;
    const bool done = workers.Map(count, job, [&](size_t i, const CRunOutcome& o) {
        taken.push_back(std::to_string(i) + (o.ok ? ": " + o.bytes : " failed: " + o.error));
        return true;
    });
    if (finished)
        *finished = done;
    return taken;
}

TEST_F(WorkerHistory, WhatNgspicePrintedBeforeAWorkerCrashedIsInTheFailure) {
    Load({"low pass", "v1 in 0 dc 1", "r1 in out 1k", "c1 out 0 100n"});
    host::ForkedRunDistributor workers(2, &host::NgSpiceSession::Get());
    const std::vector<std::string> taken = Outcomes(workers, 2, [](size_t i) {
        if (i == 1) {
            (void)host::NgSpiceSession::Get().Command("print v(nowhere)");
            ::raise(SIGSEGV);
        }
        return std::string("fine");
    });
    ASSERT_EQ(taken.size(), 2u);
    EXPECT_EQ(taken[0], "0: fine");
    // "signal 11", or under a sanitizer, which turns the crash into an exit, "exit status 1".
    EXPECT_EQ(taken[1].rfind("1 failed: The worker making run 2 ended by ", 0), 0u) << taken[1];
    EXPECT_NE(taken[1].find("nowhere"), std::string::npos) << taken[1];
}

TEST(ForkedRuns, OutcomesComeInOrderAndFailuresStoppingAndHangsCostOnlyTheirJobs) {
    // Later jobs finish first; outcomes still arrive in order. A throwing job is failed.
    host::ForkedRunDistributor workers(3);
    EXPECT_EQ(Outcomes(workers, 6,
                       [](size_t i) {
                           ::usleep(static_cast<useconds_t>((6 - i) * 3000));
                           if (i == 4)
                               throw std::runtime_error("no convergence");
                           return "job " + std::to_string(i);
                       }),
              (std::vector<std::string>{"0: job 0", "1: job 1", "2: job 2", "3: job 3",
                                        "4 failed: no convergence", "5: job 5"}));

    // A job that hangs is ended by the timeout, made once more, then reported failed.
    host::ForkedRunDistributor patient(2);
    patient.SetRunTimeout(0.3);
    const std::vector<std::string> taken = Outcomes(patient, 3, [](size_t i) {
        if (i == 1)
            ::pause();
        return std::string("done");
    });
    ASSERT_EQ(taken.size(), 3u);
    EXPECT_EQ(taken[0] + " " + taken[2], "0: done 2: done");
    EXPECT_NE(taken[1].find("timeout"), std::string::npos) << taken[1];

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
            EXPECT_EQ(i, takes++);
            return true;
        }));
    EXPECT_GE(takes, 2u);
    EXPECT_LT(takes, 50u);
}

} // namespace
