// Proxies, the factory and the collection's per-kind table.
#include "analyses/core/analysis_factory.h"
#include "analyses/core/analysis_proxy.h"
#include "analyses/single/ac.h"
#include "analyses/single/noise.h"
#include "analyses/single/op.h"
#include "analyses/single/pz.h"
#include "analyses/single/tran.h"

#include <gtest/gtest.h>

#include <memory>
#include <utility>

namespace {

using T = Analyses::AnalysisType;
using Proxy = Analyses::AnalysisProxy;

class TestAnalyses : public Analyses {
public:
    using Analyses::RegisterAnalysis;
};

TEST(AnalysisProxy, OwningProxyKeepsItsOwnCopy) {
    Analyses::Op op;
    op.SetPlotTitle("Original");
    Proxy owning(&op, 1);
    ASSERT_NE(owning.GetAnalysisPtr(), nullptr);
    EXPECT_NE(owning.GetAnalysisPtr(), &op);
    EXPECT_EQ(owning.GetOwnerFlag(), 1);
    EXPECT_EQ(owning.GetTstep(), 0.0);
    EXPECT_EQ(owning.GetPlotTitle(), "Original");

    Proxy copy(owning);
    EXPECT_NE(copy.GetAnalysisPtr(), owning.GetAnalysisPtr());
    copy.SetPlotTitle("Copy");
    EXPECT_EQ(owning.GetPlotTitle(), "Original");

    // Handing the proxy its own analysis again must not delete it.
    owning.SetAnalysisProxy(owning.GetAnalysisPtr(), 1);
    EXPECT_EQ(owning.GetPlotTitle(), "Original");

    Proxy borrowing(&op, 0);
    EXPECT_EQ(borrowing.GetAnalysisPtr(), &op);
    borrowing.SetPlotTitle("Through proxy");
    EXPECT_EQ(op.GetPlotTitle(), "Through proxy");
    Proxy borrowedCopy(borrowing);
    EXPECT_EQ(borrowedCopy.GetAnalysisPtr(), &op);

    owning = borrowing;
    EXPECT_EQ(owning.GetAnalysisPtr(), &op);
    EXPECT_EQ(owning.GetOwnerFlag(), 0);
}

TEST(AnalysisProxy, EmptyProxyIsHarmless) {
    Proxy empty;
    EXPECT_TRUE(empty.IsEmpty());
    EXPECT_EQ(empty.GetOwnerFlag(), 0);
    EXPECT_EQ(empty.GetTstep(), 1e-05);
    EXPECT_EQ(empty.GetOrvoType(), COrvo::Proxy);
    EXPECT_EQ(Proxy::Conv(&empty), &empty);
    EXPECT_EQ(Analyses::Analysis::Conv(&empty), nullptr);
    empty.reset();
    empty.reset_for_instrument(1);
    EXPECT_EQ(empty.toNutmegCommand(-1), "");
    EXPECT_EQ(empty.SameAsDefault(), 0);
    EXPECT_EQ(empty.CanSimulate(), 0);
    EXPECT_EQ(empty.GetOpPtr(), nullptr);
    EXPECT_TRUE(empty.toPropertyItem().IsEmpty());
    EXPECT_EQ(Proxy(nullptr, 1).GetAnalysisPtr(), nullptr);
}

TEST(AnalysisProxy, TypeAndTypedAccess) {
    TestAnalyses main;
    Proxy proxy;
    proxy.SetType(T::Op, &main);
    ASSERT_NE(proxy.GetOpPtr(), nullptr);
    EXPECT_EQ(proxy.GetPzPtr(), nullptr);
    EXPECT_EQ(proxy.GetMainAnalyses(), &main);
    EXPECT_EQ(proxy.GetAnalysisNickname(), "OP");
    const Analyses::Analysis* before = proxy.GetAnalysisPtr();
    proxy.SetType(T::Options, &main);
    EXPECT_EQ(proxy.GetAnalysisPtr(), before);
    proxy.SetType(T::Pz, &main);
    EXPECT_NE(proxy.GetPzPtr(), nullptr);
    EXPECT_EQ(proxy.GetOpPtr(), nullptr);
    EXPECT_EQ(proxy.GetType(), T::Pz);
    EXPECT_EQ(proxy.GetOwnerFlag(), 1);

    proxy.SetAnalysisIdentifier(3);
    EXPECT_EQ(proxy.GetPlotTitle(), "Pole Zero");
    EXPECT_EQ(&proxy.GetAnalysisOptions(), &proxy.GetAnalysisPtr()->GetAnalysisOptions(1));
}

TEST(AnalysisProxy, TypedAccessFollowsTheKindNotTheClassTree) {
    Analyses::Noise noise;
    Proxy proxy(&noise, 0);
    EXPECT_EQ(proxy.GetNoisePtr(), &noise);
    EXPECT_EQ(proxy.GetAcPtr(), nullptr); // a noise analysis is kind 4, not 1
    EXPECT_EQ(proxy.GetDistoPtr(), nullptr);
}

TEST(AnalysisProxy, ConsultsTheCollectionsMainAnalyses) {
    TestAnalyses main;
    // A noise analysis sweeps the frequencies of the collection's AC analysis.
    Analyses::Ac mainAc(&main);
    Analyses::Tran mainTran(&main);
    main.RegisterAnalysis(T::Ac, &mainAc);
    main.RegisterAnalysis(T::Tran, &mainTran);
    mainAc.SetNpoints_per_variation(77);
    mainTran.SetUseAutoTmax(1);

    Analyses::Noise noise(&main);
    Proxy noiseProxy(&noise, 0);
    EXPECT_EQ(noiseProxy.LoadFromMainAnalysis(), 1);
    EXPECT_EQ(noise.GetNpoints_per_variation(), 77);
    EXPECT_EQ(noiseProxy.GetUseTStep(), 0);

    Analyses::Tran tran(&main);
    Proxy tranProxy(&tran, 0);
    EXPECT_EQ(tranProxy.GetUseTStep(), 1);
    mainTran.SetUseAutoTmax(0);
    EXPECT_EQ(tranProxy.GetUseTStep(), 0);

    Analyses::Op op(&main);
    EXPECT_EQ(Proxy(&op, 0).LoadFromMainAnalysis(), 0);
    Analyses::Tran loose;
    EXPECT_EQ(Proxy(&loose, 0).GetUseTStep(), 0);
}

TEST(AnalysisProxy, ReadsByNickname) {
    TestAnalyses main;
    Analyses::Op op;
    op.SetPlotTitle("Stored");
    const CPropertyItem item = op.toPropertyItem();

    Proxy proxy;
    EXPECT_EQ(proxy.fromPropertyItem(item, nullptr), 0);
    EXPECT_TRUE(proxy.IsEmpty());
    EXPECT_EQ(proxy.fromPropertyItem(CPropertyItem("OP", 1L), &main), 0);
    EXPECT_EQ(proxy.fromPropertyItem(CPropertyItem("NOPE", CPropertyList()), &main), 0);
    EXPECT_EQ(proxy.fromPropertyItem(CPropertyItem("ORVO_OPT", CPropertyList()), &main), 0);
    EXPECT_TRUE(proxy.IsEmpty());

    ASSERT_EQ(proxy.fromPropertyItem(item, &main), 1);
    ASSERT_NE(proxy.GetOpPtr(), nullptr);
    EXPECT_EQ(proxy.GetPlotTitle(), "Stored");
    EXPECT_EQ(proxy.GetMainAnalyses(), &main);
    EXPECT_EQ(proxy.toPropertyItem().GetField(), item.GetField());
    EXPECT_EQ(proxy.toNutmegCommand(1), "op  -env-options ");
    EXPECT_EQ(proxy.SameAsDefault(), 1);
}

TEST(AnalysisFactory, KindsAndNicknames) {
    const auto kinds = AnalysisKindNames();
    ASSERT_EQ(kinds.size(), 19u);
    for (size_t i = 0; i < kinds.size(); ++i)
        EXPECT_EQ(static_cast<size_t>(kinds[i].type), i);
    EXPECT_STREQ(kinds[15].nickname, "ORVO_OPT");
    EXPECT_STREQ(kinds[18].nickname, "NOISE_FIGURE");

    // Every class that exists answers the nickname and type it is listed under.
    for (const AnalysisKindName& k : kinds) {
        std::unique_ptr<Analyses::Analysis> a(NewAnalysisByNickname(k.nickname, nullptr));
        if (!a)
            continue;
        EXPECT_EQ(a->GetAnalysisNickname(), k.nickname);
        EXPECT_EQ(a->GetType(), k.type);
    }
    std::unique_ptr<Analyses::Analysis> op(NewAnalysisOfType(T::Op, nullptr));
    ASSERT_NE(op, nullptr);
    EXPECT_EQ(op->GetType(), T::Op);
    EXPECT_EQ(NewAnalysisByNickname("op", nullptr), nullptr);
    EXPECT_EQ(NewAnalysisByNickname("ORVO_OPT", nullptr), nullptr);
    EXPECT_EQ(NewAnalysisOfType(static_cast<T>(19), nullptr), nullptr);
    EXPECT_NE(Analyses::NewAnalysisByNickname("OP"), nullptr);
    EXPECT_EQ(Analyses::AnalysisNicknames().size(), 19u);
}

TEST(AnalysesTable, HoldsOneAnalysisPerKind) {
    TestAnalyses main;
    Analyses::Op op(&main);
    EXPECT_EQ(main.GetAnalysis(T::Op), nullptr);
    main.RegisterAnalysis(T::Op, &op);
    main.RegisterAnalysis(T::Options, &op);
    EXPECT_EQ(main.GetAnalysis(T::Op), &op);
    EXPECT_EQ(std::as_const(main).GetAnalysis(T::Op), &op);
    EXPECT_EQ(main.GetAnalysis(T::Options), nullptr);
    EXPECT_EQ(main.GetAnalysis(static_cast<T>(19)), nullptr);
    EXPECT_EQ(main.GetAnalysis(static_cast<T>(-1)), nullptr);
    EXPECT_EQ(Analyses::Conv(&main), &main);
    EXPECT_EQ(Analyses::Conv(&op), nullptr);
    EXPECT_EQ(Analyses::Conv(nullptr), nullptr);
}

} // namespace
