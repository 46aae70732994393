// `canal members` on circuits the tests write, and the engine's status texts on the status line.
#include "canal_run.h"

#include "cli/distribution.h"
#include "cli/run.h"
#include "cli/status_frontend.h"
#include "engine/simulation_engine.h"

#include <gtest/gtest.h>

#include <sstream>

namespace {

using canal_test::Canal;
using canal_test::Result;

class MembersCommand : public ::testing::Test {
protected:
    std::string Write(const std::string& netlist) { return files_.Write("circuit.cir", netlist); }
    canal_test::TempFolder files_;
};

TEST_F(MembersCommand, ListsInstancesAndModelsWithValuesAndReadyToPasteRecords) {
    const std::string circuit = Write("divider\nv1 in 0 dc 5\nr1 in out 1k\nr2 out a 2.2k\n"
                                      "d1 a 0 dmod\n.model dmod d is=2e-14\n.end\n");
    const Result r = Canal({"members", circuit});
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.out.rfind("circuit.cir: 4 instances, 2 models\n", 0), 0u) << r.out;
    for (const char* line : {
             "\ninstance r2 (Resistor, model R)\n"
             "  record: InstToSweep:list{name:string{r2} isinst:int{1}}\n",
             "\ninstance v1 (Vsource)\n",
             "\nmodel dmod (Diode)\n  record: ModelToSweep:list{model:string{dmod} "
             "isinst:int{0}}\n",
         })
        EXPECT_NE(r.out.find(line), std::string::npos) << line << "\n" << r.out;

    // One aligned row per parameter: name, present value, mode, description, record.
    const auto row = [&](const std::string& start, const std::string& element) {
        const size_t at = r.out.find("\n  " + start, r.out.find(element));
        return at == std::string::npos ? std::string()
                                       : r.out.substr(at + 1, r.out.find('\n', at + 1) - at - 1);
    };
    const std::pair<std::string, std::vector<std::string>> rows[] = {
        {row("resistance ", "instance r2"),
         {" 2200 ", " InputOutput ", " Resistance ",
          "InstParamToSweep:list{name:string{resistance}}"}},
        {row("is ", "model dmod"), {" 2e-14 ", "ModelParamToSweep:list{name:string{is}}"}},
    };
    for (const auto& [text, parts] : rows)
        for (const std::string& part : parts)
            EXPECT_NE(text.find(part), std::string::npos) << part << " in " << text;
    const std::string current = row("i  ", "instance r2");
    EXPECT_EQ(current.back(), '-') << "an output has no record: " << current;
}

TEST_F(MembersCommand, OnlyNarrowsTheListingAndEveryFailureHasItsStatus) {
    const std::string circuit = Write("rc\nv1 in 0 dc 1\nr1 in out 1k\nc1 out 0 1u\n.end\n");
    const Result only = Canal({"members", circuit, "--only", "C1"});
    ASSERT_EQ(only.status, 0) << only.err;
    EXPECT_NE(only.out.find("instance c1 (Capacitor, model C)"), std::string::npos);
    EXPECT_EQ(only.out.find("instance r1"), std::string::npos);

    const Result missing = Canal({"members", circuit, "--only", "r9"});
    EXPECT_EQ(missing.status, 1);
    EXPECT_EQ(missing.err, "canal: members: the circuit has no instance or model called \"r9\"\n");

    const Result unreadable = Canal({"members", files_.Path("none.cir")});
    EXPECT_EQ(unreadable.status, 2);
    EXPECT_NE(unreadable.err.find("cannot read circuit file"), std::string::npos);

    const Result rejected =
        Canal({"members", Write("broken\nd1 a 0 nomodel\nv1 a 0 dc 1\n.end\n")});
    EXPECT_EQ(rejected.status, 1);
    EXPECT_NE(rejected.err.find("ngspice rejected the circuit"), std::string::npos) << rejected.err;
}

TEST(StatusFrontEnd, EngineStatusTextsAndRunCountsReachTheStatusLine) {
    std::ostringstream err;
    cli::StatusLine line(err, true);
    cli::StatusFrontEnd frontEnd(&line);
    CASimulationEngine engine;
    engine.SetGuiFE(&frontEnd);
    engine.SetStatusBarAnalysisType(AT_TRAN);
    engine.SetStatusBarAnalysisTime(2e-3);
    engine.StartUpdateStatusBarAnalysisData();
    EXPECT_EQ(frontEnd.State(), 1);
    EXPECT_EQ(frontEnd.Text().rfind("TRAN", 0), 0u) << frontEnd.Text();
    EXPECT_NE(err.str().find("\rSimulating..."), std::string::npos) << err.str();
    EXPECT_NE(err.str().find(frontEnd.Text()), std::string::npos);
    IITVariant current;
    EXPECT_EQ(frontEnd.GetProperty(GUIFE_CURRENT_STATUS, current, nullptr, nullptr), 1);
    EXPECT_EQ(current.GetString(), frontEnd.Text());
    engine.EndUpdateStatusBarAnalysisData();
    EXPECT_EQ(frontEnd.State(), 2);
    EXPECT_EQ(frontEnd.Text(), "");
    EXPECT_EQ(err.str().back(), '\r') << "the line is blanked at the end";

    // Four runs through the engine, none simulated: the bar starts at none and ends at all.
    std::string first;
    EXPECT_TRUE(engine.MapRuns(
        4, [](size_t) {},
        [&](size_t i) {
            if (i == 0)
                first = err.str();
            return i < 3;
        }));
    EXPECT_NE(first.find("[....................] 0/4"), std::string::npos) << first;
    EXPECT_NE(err.str().find("[####################] 4/4"), std::string::npos) << err.str();
}

TEST(StatusFrontEnd, ABarShowsRateAndTimeLeftOnATerminalOnly) {
    std::ostringstream err, pipe;
    cli::StatusLine line(err, true), quiet(pipe, false);
    // Half the runs in five seconds: one run a second, five seconds left.
    line.SetProgress(5, 10);
    EXPECT_EQ(line.ProgressText(5.0), "[##########..........] 5/10 1.0/s 0:05 left");
    line.SetProgress(0, 0);
    EXPECT_EQ(line.ProgressText(5.0), "");
    quiet.SetProgress(3, 10);
    EXPECT_EQ(pipe.str(), "") << "not a terminal: no bar at all";

    EXPECT_EQ(cli::ParseJobs("3"), 3);
    for (const char* bad : {"0", "-2", "2x", "", "1025", "99999999999"})
        EXPECT_FALSE(cli::ParseJobs(bad)) << bad;
    EXPECT_GE(cli::DefaultJobs(), 1);
    EXPECT_EQ(cli::MakeRunDistributor(1, nullptr, {}), nullptr) << "one job runs here";
    EXPECT_EQ(cli::MakeRunDistributor(3, nullptr, {})->Width(), 3);
}

} // namespace
