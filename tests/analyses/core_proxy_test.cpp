// Proxies, the lookup of the collection's main analyses, and its per-kind table.
#include "analyses/core/analysis_proxy.h"
#include "analyses/kinds.h"
#include "analyses/single/ac.h"
#include "analyses/single/noise.h"
#include "analyses/single/op.h"
#include "analyses/single/tran.h"

#include <gtest/gtest.h>

#include <utility>

namespace {

using T = Analyses::AnalysisType;
using Proxy = Analyses::AnalysisProxy;

class TestAnalyses : public Analyses {
public:
    using Analyses::RegisterAnalysis;
};

TEST(AnalysisProxy, OwningProxiesCopyBorrowingOnesShare) {
    Analyses::Op op;
    op.SetPlotTitle("Original");
    Proxy owning(&op, 1);
    EXPECT_NE(owning.GetAnalysisPtr(), &op);
    EXPECT_EQ(owning.GetTstep(), 0.0);
    Proxy copy(owning);
    copy.SetPlotTitle("Copy");
    // Handing the proxy its own analysis again must not delete it.
    owning.SetAnalysisProxy(owning.GetAnalysisPtr(), 1);
    EXPECT_EQ(owning.GetPlotTitle(), "Original");

    Proxy borrowing(&op, 0);
    borrowing.SetPlotTitle("Through proxy");
    EXPECT_EQ(op.GetPlotTitle(), "Through proxy");
    EXPECT_EQ(Proxy(borrowing).GetAnalysisPtr(), &op);
    owning = borrowing;
    EXPECT_EQ(owning.GetAnalysisPtr(), &op);
    EXPECT_EQ(owning.GetOwnerFlag(), 0);
}

TEST(AnalysisProxy, EmptyProxyIsHarmless) {
    Proxy empty;
    EXPECT_TRUE(empty.IsEmpty());
    EXPECT_EQ(Proxy::Conv(&empty), &empty);
    EXPECT_EQ(Analyses::Analysis::Conv(&empty), nullptr);
    empty.reset();
    empty.reset_for_instrument(1);
    EXPECT_EQ(empty.toNutmegCommand(-1), "");
    EXPECT_EQ(empty.SameAsDefault() + empty.CanSimulate(), 0);
    EXPECT_TRUE(empty.toPropertyItem().IsEmpty());
    EXPECT_EQ(Proxy(nullptr, 1).GetAnalysisPtr(), nullptr);
}

// Every typed accessor, by the kind it answers for.
// clang-format off
#define ACCESSOR(kind, getter) \
    {T::kind, [](const Proxy& p) -> const void* { return p.getter(); }}
// Addresses only: each class has the analysis base first, and most need not be complete here.
const std::pair<T, const void* (*)(const Proxy&)> kAccessors[] = {
    ACCESSOR(Op, GetOpPtr),         ACCESSOR(Ac, GetAcPtr),       ACCESSOR(Tran, GetTranPtr),
    ACCESSOR(Four, GetFourPtr),     ACCESSOR(Noise, GetNoisePtr), ACCESSOR(Disto, GetDistoPtr),
    ACCESSOR(DcSweep, GetDcSweepPtr), ACCESSOR(Psweep, GetPsweepPtr),
    ACCESSOR(Tsweep, GetTsweepPtr), ACCESSOR(Pz, GetPzPtr),       ACCESSOR(Tf, GetTfPtr),
    ACCESSOR(Sens, GetSensPtr),     ACCESSOR(Worst, GetWorstPtr), ACCESSOR(Monte, GetMontePtr),
    ACCESSOR(User, GetUserPtr),     ACCESSOR(Run, GetRunPtr),
    ACCESSOR(TraceWidth, GetTraceWidthPtr), ACCESSOR(NoiseFigure, GetNoiseFigurePtr),
};
#undef ACCESSOR
// clang-format on

TEST(AnalysisProxy, SetTypeMakesEveryKindAndOnlyItsAccessorAnswers) {
    TestAnalyses main;
    for (const auto& row : kAccessors) {
        const T kind = row.first;
        SCOPED_TRACE(AnalysisNickname(kind));
        Proxy proxy;
        proxy.SetChange();
        proxy.SetType(kind, &main);
        EXPECT_EQ(proxy.GetType(), kind);
        EXPECT_EQ(proxy.GetMainAnalyses(), &main);
        EXPECT_EQ(proxy.GetChange(), 0) << "a new analysis is unedited";
        for (const auto& [other, accessor] : kAccessors)
            EXPECT_EQ(accessor(proxy),
                      other == kind ? static_cast<const void*>(proxy.GetAnalysisPtr()) : nullptr)
                << AnalysisNickname(other);
        // Its record makes the same kind again; an edit mark travels with copies.
        Proxy read;
        ASSERT_EQ(read.fromPropertyItem(proxy.toPropertyItem(), &main), 1);
        EXPECT_EQ(read.GetType(), kind);
        proxy.SetChange();
        EXPECT_EQ(Proxy(proxy).GetChange(), 1);
        for (const int invalid : {15, 19})
            proxy.SetType(static_cast<T>(invalid), &main);
        EXPECT_EQ(proxy.GetType(), kind);
        EXPECT_EQ(&proxy.GetAnalysisOptions(), &proxy.GetAnalysisPtr()->GetAnalysisOptions(1));
    }
}

TEST(AnalysisProxy, ConsultsTheCollectionsMainAnalyses) {
    TestAnalyses main, empty;
    Analyses::Ac mainAc(&main);
    Analyses::Tran mainTran(&main);
    main.RegisterAnalysis(T::Ac, &mainAc);
    main.RegisterAnalysis(T::Tran, &mainTran);
    mainAc.SetVariation(AcAnalysis::Linear);
    mainAc.SetNpoints_per_variation(77);
    mainTran.SetUseAutoTmax(1);

    // Every kind with a sweep takes the frequencies of the collection's AC analysis.
    Analyses::Noise noise(&main);
    Proxy noiseProxy(&noise, 0);
    EXPECT_EQ(noise.GetAcAnalysis().GetMainAnalysis(), &mainAc.GetAcAnalysis());
    EXPECT_EQ(noiseProxy.LoadFromMainAnalysis(), 1);
    EXPECT_EQ(noise.GetAcAnalysis().GetAxisCmd() + noise.GetACArguments(),
              "-param vscale log; -param hscale lin; -param hrange 1 1e+10; lin 77 1 1e+10 ");
    EXPECT_EQ(noiseProxy.GetUseTStep(), 0) << "only transient runs have a step";
    // Without a collection, or without its AC analysis, there is nothing to load.
    EXPECT_EQ(Analyses::Ac(nullptr).LoadFromMainAnalysis(), 0);
    EXPECT_EQ(Analyses::Ac(&empty).LoadFromMainAnalysis(), 0);

    Analyses::Tran tran(&main);
    Proxy tranProxy(&tran, 0);
    EXPECT_EQ(tranProxy.GetUseTStep(), 1);
    EXPECT_EQ(tranProxy.LoadFromMainAnalysis(), 1);
    EXPECT_EQ(tran.GetUseAutoTmax(), 1);
    mainTran.SetUseAutoTmax(0);
    EXPECT_EQ(tranProxy.GetUseTStep(), 0);
    Analyses::Tran loose;
    EXPECT_EQ(Proxy(&loose, 0).GetUseTStep(), 0);
}

TEST(AnalysisProxy, ReadsByNicknameOnlyForACollection) {
    TestAnalyses main;
    Analyses::Op op;
    op.SetPlotTitle("Stored");
    const CPropertyItem item = op.toPropertyItem();
    Proxy proxy;
    EXPECT_EQ(proxy.fromPropertyItem(item, nullptr), 0);
    EXPECT_EQ(proxy.fromPropertyItem(CPropertyItem("OP", 1L), &main), 0);
    EXPECT_EQ(proxy.fromPropertyItem(CPropertyItem("NOPE", CPropertyList()), &main), 0);
    EXPECT_EQ(proxy.fromPropertyItem(CPropertyItem("ORVO_OPT", CPropertyList()), &main), 0);
    EXPECT_TRUE(proxy.IsEmpty());

    ASSERT_EQ(proxy.fromPropertyItem(item, &main), 1);
    ASSERT_NE(proxy.GetOpPtr(), nullptr);
    EXPECT_EQ(proxy.GetMainAnalyses(), &main);
    EXPECT_EQ(proxy.toPropertyItem().GetField(), item.GetField());
}

TEST(AnalysesTable, HoldsOneAnalysisPerKind) {
    TestAnalyses main;
    Analyses::Op op(&main);
    EXPECT_EQ(main.GetAnalysis(T::Op), nullptr);
    main.RegisterAnalysis(T::Op, &op);
    main.RegisterAnalysis(T::Options, &op);
    EXPECT_EQ(std::as_const(main).GetAnalysis(T::Op), &op);
    for (const T kind : {T::Options, static_cast<T>(19), static_cast<T>(-1)})
        EXPECT_EQ(main.GetAnalysis(kind), nullptr);
    EXPECT_EQ(Analyses::Conv(&main), &main);
    EXPECT_EQ(Analyses::Conv(&op), nullptr);
    EXPECT_EQ(Analyses::Conv(nullptr), nullptr);
}

} // namespace
