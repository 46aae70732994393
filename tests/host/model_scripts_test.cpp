// The scripts the analysis model writes run on ngspice as they are, framing and options included.
#include "analyses/core/analysis_factory.h"
#include "analyses/core/analysis_nodes.h"
#include "analyses/single/ac.h"
#include "analyses/single/dc_sweep.h"
#include "analyses/single/disto.h"
#include "analyses/single/four.h"
#include "analyses/single/noise.h"
#include "analyses/single/pz.h"
#include "analyses/single/sens.h"
#include "analyses/single/tf.h"
#include "analyses/single/tran.h"
#include "host/ngspice/script_runner.h"
#include "host/ngspice/session.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>

namespace {

using AT = Analyses::AnalysisType;
using A = Analyses::Analysis;

// A transistor-free amplifier stand-in: a source driving a low-pass with a diode across it, so
// that distortion and sensitivity have a non-linear device to see.
const std::vector<std::string> kCircuit = {"model scripts",
                                           "vin in 0 dc 0.3 ac 1 sin(0 0.1 1k)",
                                           "r1 in out 1k",
                                           "c1 out 0 100n",
                                           "d1 out 0 dm",
                                           "rl out 0 10k",
                                           ".model dm d is=1e-14 cjo=1p",
                                           ".end"};

TEST(ModelScripts, EverySingleAnalysisRunsOnNgspiceAndFillsItsPage) {
    host::ScriptRunner runner(host::NgSpiceSession::Get());
    std::string error;
    ASSERT_TRUE(runner.LoadCircuitLines(kCircuit, error)) << error;
    const auto none = [](A&) {};
    const std::pair<AT, std::function<void(A&)>> analyses[] = {
        {AT::Op, none},
        {AT::Ac, [](A& a) { static_cast<Analyses::Ac&>(a).SetFstop(1e6); }},
        {AT::Tran, none},
        {AT::Four, none},
        {AT::Noise,
         [](A& a) {
             auto& n = static_cast<Analyses::Noise&>(a);
             n.SetFstop(1e6);
             n.SetOutputNode("out");
             n.SetInputNoiseRefSource("vin");
         }},
        {AT::Disto, [](A& a) { static_cast<Analyses::Ac&>(a).SetFstop(1e6); }},
        {AT::DcSweep,
         [](A& a) {
             auto& d = static_cast<Analyses::DcSweep&>(a);
             d.SetSource1("vin");
             d.SetStart1(0);
             d.SetStop1(1);
             d.SetIncrement1(0.1);
         }},
        {AT::Pz,
         [](A& a) {
             auto& p = static_cast<Analyses::Pz&>(a);
             p.SetInputPlus("in");
             p.SetOutputPlus("out");
             p.SetPZpart(Analyses::Pz::Poles);
         }},
        {AT::Tf,
         [](A& a) {
             static_cast<Analyses::Tf&>(a).SetOutputNode("out");
             static_cast<Analyses::Tf&>(a).SetInputRefSource("vin");
         }},
        {AT::Sens, [](A& a) { static_cast<Analyses::Sens&>(a).SetOutputNode("out"); }},
    };
    for (const auto& [type, configure] : analyses) {
        std::unique_ptr<A> a(NewAnalysisOfType(type, nullptr));
        ASSERT_TRUE(a) << static_cast<int>(type);
        a->GetAnalysisNodes().SetNodesString(CString("v(out)"));
        configure(*a);
        const std::string script = a->toNutmegCommand(-1).str();
        const host::RunResult r = runner.Run(script);
        ASSERT_TRUE(r.ok && r.notes.empty() && !r.pages.empty()) << script << "\n" << r.error;
        const report::Page& p = r.pages.front();
        EXPECT_FALSE(p.failed || p.traces.empty() || p.plotName.empty()) << script;
        for (const auto& t : p.traces)
            EXPECT_TRUE(t.re.size() == p.x.size() || (p.x.empty() && t.re.size() == 1))
                << script << " " << t.name;
    }
}

} // namespace
