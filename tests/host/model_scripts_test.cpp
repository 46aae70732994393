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

#include <iostream>
#include <memory>
#include <string>

namespace {

using AT = Analyses::AnalysisType;

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

std::unique_ptr<Analyses::Analysis> Make(AT type) {
    std::unique_ptr<Analyses::Analysis> a(NewAnalysisOfType(type, nullptr));
    if (a)
        a->GetAnalysisNodes().SetNodesString(CString("v(out)"));
    return a;
}

void Configure(Analyses::Analysis& a, AT type) {
    switch (type) {
    case AT::Ac:
    case AT::Disto:
        static_cast<Analyses::Ac&>(a).SetFstop(1e6);
        break;
    case AT::Noise: {
        auto& n = static_cast<Analyses::Noise&>(a);
        n.SetFstop(1e6);
        n.SetOutputNode("out");
        n.SetInputNoiseRefSource("vin");
        break;
    }
    case AT::DcSweep: {
        auto& d = static_cast<Analyses::DcSweep&>(a);
        d.SetSource1("vin");
        d.SetStart1(0);
        d.SetStop1(1);
        d.SetIncrement1(0.1);
        break;
    }
    case AT::Tf: {
        auto& t = static_cast<Analyses::Tf&>(a);
        t.SetOutputNode("out");
        t.SetInputRefSource("vin");
        break;
    }
    case AT::Pz: {
        auto& p = static_cast<Analyses::Pz&>(a);
        p.SetInputPlus("in");
        p.SetOutputPlus("out");
        p.SetPZpart(Analyses::Pz::Poles);
        break;
    }
    case AT::Sens:
        static_cast<Analyses::Sens&>(a).SetOutputNode("out");
        break;
    default:
        break;
    }
}

TEST(ModelScripts, EverySingleAnalysisRunsOnNgspiceAndFillsItsPage) {
    host::ScriptRunner runner(host::NgSpiceSession::Get());
    std::string error;
    ASSERT_TRUE(runner.LoadCircuitLines(kCircuit, error)) << error;
    for (const AT type : {AT::Op, AT::Ac, AT::Tran, AT::Four, AT::Noise, AT::Disto, AT::DcSweep,
                          AT::Pz, AT::Tf, AT::Sens}) {
        std::unique_ptr<Analyses::Analysis> a = Make(type);
        ASSERT_TRUE(a) << static_cast<int>(type);
        Configure(*a, type);
        const std::string script = a->toNutmegCommand(-1).str();
        const host::RunResult r = runner.Run(script);
        EXPECT_TRUE(r.ok) << script << "\n" << r.error;
        EXPECT_TRUE(r.notes.empty()) << script << "\n" << r.notes.front();
        ASSERT_FALSE(r.pages.empty()) << script;
        const report::Page& p = r.pages.front();
        EXPECT_FALSE(p.failed) << script;
        EXPECT_FALSE(p.traces.empty()) << script;
        EXPECT_FALSE(p.plotName.empty()) << script;
        for (const auto& t : p.traces)
            EXPECT_TRUE(t.re.size() == p.x.size() || (p.x.empty() && t.re.size() == 1))
                << script << " " << t.name;
        if (HasFailure()) {
            for (const auto& l : r.log)
                std::cerr << l << '\n';
            return;
        }
    }
}

} // namespace
