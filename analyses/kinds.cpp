// The kind table, and the creation by type and by nickname derived from it.
#include "analyses/kinds.h"

#include "analyses/core/analysis_factory.h"
#include "platform/resources.h"

// One include per kind with a class.
#include "analyses/compound/noise_figure.h"
#include "analyses/compound/psweep.h"
#include "analyses/compound/trace_width.h"
#include "analyses/compound/wcmc_analysis.h"
#include "analyses/single/ac.h"
#include "analyses/single/dc_sweep.h"
#include "analyses/single/disto.h"
#include "analyses/single/four.h"
#include "analyses/single/noise.h"
#include "analyses/single/op.h"
#include "analyses/single/pz.h"
#include "analyses/single/run.h"
#include "analyses/single/sens.h"
#include "analyses/single/tf.h"
#include "analyses/single/tran.h"
#include "analyses/single/user.h"

#include <memory>

namespace {

using T = Analyses::AnalysisType;

template <class C> Analyses::Analysis* Create(const Analyses* main) {
    return new C(main);
}

// Options (15) is a kind without an analysis object: it never gets a factory.
constexpr AnalysisKind kKinds[] = {
    {T::Op, "OP", IDS_NAME_OP, &Create<Analyses::Op>},
    {T::Ac, "AC", IDS_NAME_AC, &Create<Analyses::Ac>},
    {T::Tran, "TRAN", IDS_NAME_TRAN, &Create<Analyses::Tran>},
    {T::Four, "FOUR", IDS_NAME_FOUR, &Create<Analyses::Four>},
    {T::Noise, "NOISE", IDS_NAME_NOISE, &Create<Analyses::Noise>},
    {T::Disto, "DISTO", IDS_NAME_DISTO, &Create<Analyses::Disto>},
    {T::DcSweep, "DC_SWEEP", IDS_NAME_DC_SWEEP, &Create<Analyses::DcSweep>},
    {T::Psweep, "PSWEEP", IDS_NAME_PSWEEP, &Create<Analyses::Psweep>},
    {T::Tsweep, "TSWEEP", IDS_NAME_TSWEEP, &Create<Analyses::Tsweep>},
    {T::Pz, "PZ", IDS_NAME_PZ, &Create<Analyses::Pz>},
    {T::Tf, "TF", IDS_NAME_TF, &Create<Analyses::Tf>},
    {T::Sens, "SENS", IDS_NAME_SENS, &Create<Analyses::Sens>},
    {T::Worst, "WORST", IDS_NAME_WORST, &Create<Analyses::Worst>},
    {T::Monte, "MONTE", IDS_NAME_MONTE, &Create<Analyses::Monte>},
    {T::User, "USER", IDS_NAME_USER, &Create<Analyses::User>},
    {T::Options, "ORVO_OPT", IDS_NAME_OPTIONS, nullptr},
    {T::Run, "RUN", IDS_NAME_RUN, &Create<Analyses::Run>},
    {T::TraceWidth, "TRACEWIDTH", IDS_NAME_TRACEWIDTH, &Create<Analyses::TraceWidth>},
    {T::NoiseFigure, "NOISE_FIGURE", IDS_NAME_NOISE_FIGURE, &Create<Analyses::NoiseFigure>},
};
static_assert(std::size(kKinds) == Analyses::AnalysisTypeCount);

constexpr bool InTypeOrder() {
    for (size_t i = 0; i < std::size(kKinds); ++i)
        if (static_cast<size_t>(kKinds[i].type) != i)
            return false;
    return true;
}
static_assert(InTypeOrder(), "row i must describe type i");

} // namespace

std::span<const AnalysisKind> AnalysisKinds() {
    return kKinds;
}

const AnalysisKind* FindAnalysisKind(Analyses::AnalysisType type) {
    const auto index = static_cast<size_t>(type);
    return index < std::size(kKinds) ? &kKinds[index] : nullptr;
}

const AnalysisKind* FindAnalysisKind(std::string_view nickname) {
    for (const AnalysisKind& kind : kKinds)
        if (nickname == kind.nickname)
            return &kind;
    return nullptr;
}

const char* AnalysisNickname(Analyses::AnalysisType type) {
    const AnalysisKind* kind = FindAnalysisKind(type);
    return kind ? kind->nickname : "";
}

std::span<const AnalysisKindName> AnalysisKindNames() {
    return kKinds;
}

Analyses::Analysis* NewAnalysisOfType(Analyses::AnalysisType type, const Analyses* main) {
    const AnalysisKind* kind = FindAnalysisKind(type);
    return kind && kind->create ? kind->create(main) : nullptr;
}

Analyses::Analysis* NewAnalysisByNickname(const CString& nickname, const Analyses* main) {
    const AnalysisKind* kind = FindAnalysisKind(nickname.view());
    return kind && kind->create ? kind->create(main) : nullptr;
}

std::unique_ptr<Analyses::Analysis> Analyses::NewAnalysisByNickname(const CString& nickname,
                                                                    const Analyses* main) {
    return std::unique_ptr<Analysis>(::NewAnalysisByNickname(nickname, main));
}

std::vector<CString> Analyses::AnalysisNicknames() {
    std::vector<CString> names;
    for (const AnalysisKind& kind : kKinds)
        names.emplace_back(kind.nickname);
    return names;
}
