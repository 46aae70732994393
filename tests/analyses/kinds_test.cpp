// The kind table and what every kind shares: identity, copies, and settings kept through a record.
#include "analyses/core/analysis_factory.h"
#include "analyses/single/dc_sweep.h"
#include "analyses/single/noise.h"
#include "analyses/single/tf.h"
#include "tests/support/test_support.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

using namespace test;
using T = Analyses::AnalysisType;

struct TestAnalyses : Analyses {};

// Non-default common settings around a kind's own list; kinds that keep no
// node set leave out the first item.
constexpr const char* kNodes =
    "NODES:list{IncrPlot:int{0} NodeFilterSelected:int{0} NodeFilterUnselected:int{0} "
    "ShowAtEnd:int{1} Mode:int{2} UserNodes:list{NODE:list{Name:string{v(in)} Kind:int{1} "
    "Flags:int{256}}} Nodes:list{NODE:list{Name:string{v(out)} Kind:int{1} Flags:int{768}}} "
    "hscale:int{1} WantCheckNodes:int{1} vrange:double{-1} vrange:double{2.5}} ";
constexpr const char* kCommon =
    "ANALYSIS_ID:int{0} PLOT_TITLE:string{Bias \\{1\\}} MAX_POINTS:int{20000} "
    "DISCARD_PLOTS:int{0} READABLE_NAME:string{Bias point} "
    "RAWFILE_NAME:string{c:\\\\results\\\\bias.raw} "
    "ORVO_OPT:list{1:list{IsEnabled:int{1} gmin:double{1e-09}} 5:list{IsEnabled:int{1} "
    "trtol:double{7}} 12:list{IsEnabled:int{1} itl4:int{100}} 25:list{IsEnabled:int{1} "
    "method:string{gear}} 33:list{IsEnabled:int{1} convlimit:flag{}} 37:list{IsEnabled:int{1} "
    "rshunt:double{1e+12}}} USE_ORVO_OPT:int{1} VLT_ORVO_OPT:int{0}";

struct KindCase {
    const char* nickname;
    int nodeType, outputClass; ///< at the defaults
    bool nodes;                ///< whether the record keeps the node set
    const char* keys;          ///< non-default settings of the kind's own, in written order
    const char* command;       ///< the kind's own command with them
};

const KindCase kCases[] = {
    {"OP", 1, 2, true, "", "op  -env-options "},
    {"AC", 2, 1, true,
     "VARIATION:string{oct} NPOINTS_PER_VARIATION:double{25} FSTART:double{10} "
     "FSTOP:double{1e+06} vscale:int{1} hscale2:int{2} hscale:int{3} vrange:double{-100} "
     "vrange:double{0} hrange:double{10} hrange:double{1e+06}",
     "-param vscale log; -param hscale oct; -param vrange -100 0; "
     "-param hrange 10 1e+06; ac  -env-options oct 25 10 1e+06 "},
    {"TRAN", 3, 2, true,
     "TSTEP:double{2e-06} TSTOP:double{0.005} TSTART:double{0.001} TPOINTS:int{500} "
     "USE_AUTO_TIME_STEP:int{1} IC:string{uic}",
     "-param hrange 0.001 0.005; tran  -env-options 2e-06 0.005 0.001 1e-05 uic "},
    {"FOUR", 3, 2, true,
     "FundFreqSet:int{1} FundFreq:double{60} NumFreqs:int{15} UseTran:int{1} TStop:double{0.25} "
     "Tran:list{TSTEP:double{1e-04} TSTOP:double{0.001} TSTART:double{0} TMAX:string{calculate} "
     "USE_AUTO_TIME_STEP:int{0} IC:string{zero_ic}} UseNumPointsPerPeriod:int{1} "
     "NumPointsPerPeriod:double{64} UseDegPoly:int{1} DegPoly:int{2} Variation:int{2} "
     "DisplayPhase:int{1} LineGraph:int{0} Normalized:int{1} Plot:int{0}",
     "save all; -param hrange 0 0.001; tran  -env-options 0.0001 0.001 0 0.001 zero_ic "
     "auto_tmax ; set nfreqs = 16; set polydegree = 2; set fourgridsize = 2048; save all; "
     "iplot v(out) ; -param vscale dec; -param hrange 0 0 ;fourier /+phase /norm 60 v(out) ; "
     "set nfreqs = 9; set polydegree = 1; set fourgridsize = 200; "},
    {"NOISE", 4, 5, true,
     "NodeFilterInputRefSource:int{4} NodeFilterOutputNode:int{1} "
     "NodeFilterReferenceNode:int{31} InputRefSource:string{vin} OutputNode:string{out} "
     "ReferenceNode:string{ref} SetPointsPerSummary:int{1} PointsPerSummary:int{7} "
     "FREQ_OPT:list{VARIATION:string{lin} NPOINTS_PER_VARIATION:double{101} FSTART:double{1} "
     "FSTOP:double{1e+10} vscale:int{0} hscale:int{0} hrange:double{1} hrange:double{1e+10}}",
     "noise  -env-options v(out,ref) vin lin 101 1 1e+10  7"},
    {"DISTO", 5, 1, true,
     "FREQ_OPT:list{VARIATION:string{oct} NPOINTS_PER_VARIATION:double{20} FSTART:double{100} "
     "FSTOP:double{1e+06} vscale:int{3} hscale:int{3} hrange:double{100} hrange:double{1e+06}} "
     "USE_F1OVERF2:int{1} F1OVERF2:double{0.45}",
     "-param vscale oct; -param hscale oct; -param hrange 100 1e+06; "
     "disto  -env-options oct 20 100 1e+06  0.45"},
    {"DC_SWEEP", 1, 2, true,
     "NodeFilterSource1:int{4} Source1:string{vin} Start1:double{-5} Stop1:double{5} "
     "Increment1:double{0.1} UseSource2:int{1} Source2:string{ibias} NodeFilterSource2:int{8} "
     "Start2:double{1e-06} Stop2:double{0.001} Increment2:double{1e-04}",
     "dc  -env-options vin -5 5 0.1 ibias 1e-06 0.001 0.0001"},
    {"PZ", 6, 7, true,
     "NodeFilterInputPlus:int{1} NodeFilterInputMinus:int{2} NodeFilterOutputPlus:int{4} "
     "NodeFilterOutputMinus:int{31} InputPlus:string{in} InputMinus:string{inn} "
     "OutputPlus:string{out} OutputMinus:string{outn} PZpart:int{2} AnalysisType:int{1}",
     "pz  -env-options in inn out outn cur zer "},
    {"TF", 7, 7, true,
     "NodeFilterInputRefSource:int{4} NodeFilterCurrentSource:int{8} "
     "NodeFilterOutputNode:int{1} NodeFilterOutputRefNode:int{2} "
     "InputRefSource:string{vin} CurrentSource:string{vsense} OutputNode:string{out} "
     "OutputRefNode:string{ref} UseCurrentSource:int{1}",
     "tf  -env-options i(vsense) vin "},
    // The analysis in use comes last, as its own whole record.
    {"SENS", 8, 4, true,
     "NodeFilterCurrentSource:int{4} NodeFilterOutputNode:int{1} NodeFilterOutputRefNode:int{31} "
     "CurrentSource:string{vs} OutputNode:string{out} OutputRefNode:string{ref} "
     "UseAbsoluteScaling:int{0} UseCurrentSource:int{1} AC:list{NODES:list{IncrPlot:int{1} "
     "NodeFilterSelected:int{0} NodeFilterUnselected:int{0} ShowAtEnd:int{1} Mode:int{0} "
     "UserNodes:list{} Nodes:list{} WantCheckNodes:int{1}} ANALYSIS:list{VARIATION:string{oct} "
     "NPOINTS_PER_VARIATION:double{5} FSTART:double{1} FSTOP:double{2e+06} vscale:int{3} "
     "hscale:int{3} hrange:double{1} hrange:double{2e+06}} ANALYSIS_ID:int{0} "
     "PLOT_TITLE:string{} MAX_POINTS:int{20000} DISCARD_PLOTS:int{1} READABLE_NAME:string{} "
     "RAWFILE_NAME:string{} ORVO_OPT:list{5:list{IsEnabled:int{1} trtol:double{7}} "
     "12:list{IsEnabled:int{1} itl4:int{100}} 33:list{IsEnabled:int{1} convlimit:flag{}} "
     "37:list{IsEnabled:int{1} rshunt:double{1e+12}}} USE_ORVO_OPT:int{0} VLT_ORVO_OPT:int{0}}",
     "-param vscale oct; -param hscale oct; -param hrange 1 2e+06; "
     "sens  -env-options i(vs) ac oct 5 1 2e+06  relative"},
    {"USER", 0, 7, false,
     "USER_CMD:string{tran 1n 1u\n  print v(out) \\{x\\}\r\n\tlet a = b\\\\c;\nsave all  }",
     "tran 1n 1u\n  print v(out) {x}\r\n\tlet a = b\\c;\nsave all  "},
    {"RUN", 0, 7, false, "", "run;"},
};

CString RecordText(const KindCase& c) {
    return CString(c.nickname) + ":list{" + (c.nodes ? kNodes : "") + "ANALYSIS:list{" + c.keys +
           "} " + kCommon + "}";
}

TEST(AnalysisKinds, TableListsEveryKindInTypeOrder) {
    std::string nicknames;
    for (const CString& nickname : Analyses::AnalysisNicknames())
        nicknames += nickname.str() + " ";
    EXPECT_EQ(nicknames, "OP AC TRAN FOUR NOISE DISTO DC_SWEEP PSWEEP TSWEEP PZ TF SENS WORST "
                         "MONTE USER ORVO_OPT RUN TRACEWIDTH NOISE_FIGURE ");
    const auto kinds = AnalysisKinds();
    ASSERT_EQ(kinds.size(), 19u);
    EXPECT_EQ(AnalysisKindNames().size(), 19u);
    std::string names = Analysis::s_GetDefaultReadableName(-1).str();
    for (size_t i = 0; i < kinds.size(); ++i) {
        EXPECT_EQ(static_cast<size_t>(kinds[i].type), i);
        names += "|" + Analysis::s_GetDefaultReadableName(static_cast<int>(i)).str();
    }
    names += "|" + Analysis::s_GetDefaultReadableName(19).str();
    EXPECT_EQ(names, "---------------------------|DC operating point|AC Analysis|Transient "
                     "Analysis|Fourier Analysis|Noise Analysis|Distortion Analysis|DC Sweep|"
                     "Parameter Sweep|Temperature Sweep|Pole Zero|Transfer Function|Sensitivity|"
                     "Worst Case|Monte Carlo|User Defined Analysis|(N/A) Analysis Options|Run "
                     "Circuit Directly|Trace Width Analysis|Noise Figure Analysis|"
                     "---------------------------");

    // Nicknames are exact; the option set is a kind without an analysis object, every other
    // kind makes one of its own type.
    EXPECT_EQ(NewAnalysisByNickname("op", nullptr), nullptr);
    EXPECT_EQ(NewAnalysisByNickname("ORVO_OPT", nullptr), nullptr);
    for (const AnalysisKind& kind : kinds) {
        if (kind.type == T::Options)
            continue;
        const std::unique_ptr<Analysis> made(NewAnalysisByNickname(kind.nickname, nullptr));
        ASSERT_NE(made, nullptr) << kind.nickname;
        EXPECT_EQ(made->GetType(), kind.type) << kind.nickname;
    }
    EXPECT_EQ(NewAnalysisOfType(static_cast<T>(19), nullptr), nullptr);
    EXPECT_NE(Analyses::NewAnalysisByNickname("OP"), nullptr);
    EXPECT_EQ(AnalysisOptions::s_GetAnalysisNickname(), "ORVO_OPT");
}

TEST(AnalysisKinds, EveryClassAnswersItsRowAndCopiesBindToThemselves) {
    TestAnalyses main;
    Instance* instance = nullptr;
    for (const AnalysisKind& kind : AnalysisKinds()) {
        if (!kind.create)
            continue;
        SCOPED_TRACE(kind.nickname);
        std::unique_ptr<Analysis> a(NewAnalysisOfType(kind.type, &main));
        ASSERT_NE(a, nullptr);
        EXPECT_EQ(a->GetAnalysisNickname(), kind.nickname);
        EXPECT_EQ(a->GetMaxPoints(), Analysis::s_GetDefaultMaxPoints());
        const CString defaults = a->toPropertyItem().GetField();
        a->SetPlotTitle("edited");
        a->GetAnalysisNodes().SetNodesString("out");
        const std::unique_ptr<Analysis> copies[] = {std::unique_ptr<Analysis>(a->Clone()),
                                                    std::unique_ptr<Analysis>(a->Clone(instance)),
                                                    std::unique_ptr<Analysis>(a->NewInstance())};
        for (const std::unique_ptr<Analysis>& copy : copies) {
            ASSERT_NE(copy, nullptr);
            EXPECT_EQ(copy->GetType(), kind.type);
            EXPECT_EQ(copy->GetAnalysisNodes().GetRefAnalysis(), copy.get());
            EXPECT_EQ(copy->GetMainAnalyses(), &main);
            EXPECT_EQ(copy->toPropertyItem().GetField(),
                      copy == copies[2] ? defaults : a->toPropertyItem().GetField());
        }
    }
}

TEST(AnalysisKinds, EveryKindKeepsItsSettingsThroughItsRecord) {
    for (const KindCase& c : kCases) {
        SCOPED_TRACE(c.nickname);
        std::unique_ptr<Analysis> edited(NewAnalysisByNickname(c.nickname, nullptr));
        std::unique_ptr<Analysis> copy(NewAnalysisByNickname(c.nickname, nullptr));
        ASSERT_TRUE(edited && copy);
        EXPECT_EQ(edited->GetNodeType(), c.nodeType);
        const CString defaults = edited->toPropertyItem().GetField();
        ASSERT_EQ(copy->fromPropertyItem(ParseItem(defaults)), 1);
        EXPECT_EQ(copy->toPropertyItem().GetField(), defaults);

        // Every setting read from a stored record is written back as it was.
        const CString text = RecordText(c);
        ASSERT_EQ(edited->fromPropertyItem(ParseItem(text)), 1);
        EXPECT_EQ(edited->toPropertyItem().GetField(), text);
        EXPECT_EQ(CommandOf(*edited), c.command);
        EXPECT_EQ(edited->GetOutputVariableClass(), c.outputClass);

        // Copies by record, by clone and by assignment keep all of it.
        ASSERT_EQ(copy->fromPropertyItem(edited->toPropertyItem()), 1);
        EXPECT_EQ(copy->toNutmegCommand(-1), edited->toNutmegCommand(-1));
        const std::unique_ptr<Analysis> clone(edited->Clone());
        std::unique_ptr<Analysis> assigned(NewAnalysisByNickname(c.nickname, nullptr));
        *assigned = *edited;
        for (const Analysis* a : {copy.get(), clone.get(), assigned.get()})
            EXPECT_EQ(a->toPropertyItem().GetField(), text);
    }
}

// Each kind's own rules, from stored keys: its command and, where given, its summary.
struct RuleCase {
    const char* nickname;
    const char* keys;
    const char* command;
    const char* summary; ///< the "Analysis settings" block below its heading, or null
};

const RuleCase kRuleCases[] = {
    // A second source is commanded only when used.
    {"DC_SWEEP", "", "dc  -env-options $0 0 1 0.5", nullptr},
    {"DC_SWEEP", "Source1:string{vv1} Source2:string{vbias} Start2:double{-2}",
     "dc  -env-options vv1 0 1 0.5",
     "  DC Sweep for source #1\n    Source: vv1\n    Start Value: 0\n    Stop Value: 1\n"
     "    Increment Value: 0.5\n"},
    {"DC_SWEEP",
     "Source1:string{vv1} Start2:double{-2} UseSource2:int{1} Start1:double{-1.5} "
     "Stop1:double{2500} Increment1:double{0.25} Increment2:double{2e-3}",
     "dc  -env-options vv1 -1.5 2500 0.25 $0 -2 1 0.002",
     "  DC Sweep for source #1\n    Source: vv1\n    Start Value: -1.5\n    Stop Value: 2500\n"
     "    Increment Value: 0.25\n  DC Sweep for source #2\n    Source: $0\n"
     "    Start Value: -2\n    Stop Value: 1\n    Increment Value: 0.002\n"},
    // The ratio of the second tone is commanded and shown only when in use.
    {"DISTO", "USE_F1OVERF2:int{1}",
     "-param vscale log; -param hscale log; -param hrange 1 1e+10; "
     "disto  -env-options dec 10 1 1e+10  0.1",
     "  F2/F1: 0.1\n  Frequency Parameters\n  Vertical axis scale: log\n"
     "  Horizontal axis scale: log\n  Horizontal axis range: 1 to 1e+10\n"},
    {"DISTO", "F1OVERF2:double{0.25}",
     "-param vscale log; -param hscale log; -param hrange 1 1e+10; "
     "disto  -env-options dec 10 1 1e+10 ",
     "  Frequency Parameters\n  Vertical axis scale: log\n  Horizontal axis scale: log\n"
     "  Horizontal axis range: 1 to 1e+10\n"},
    // The summary shows the count whenever there is one, without consulting its flag.
    {"NOISE", "", "noise  -env-options v($0) $0 dec 10 1 1e+10 ", nullptr},
    {"NOISE", "OutputNode:string{out} InputRefSource:string{vin} ReferenceNode:string{$0}",
     "noise  -env-options v(out) vin dec 10 1 1e+10 ", nullptr},
    {"NOISE", "OutputNode:string{out} InputRefSource:string{vin} PointsPerSummary:int{5}",
     "noise  -env-options v(out) vin dec 10 1 1e+10 ",
     "  Input reference source: vin\n  Output node: out\n  Reference node: $0\n"
     "  Points per summary: 5\n  Frequency Parameters\n  Vertical axis scale: log\n"
     "  Horizontal axis scale: log\n  Horizontal axis range: 1 to 1e+10\n"},
    {"NOISE", "PointsPerSummary:int{0}", "noise  -env-options v($0) $0 dec 10 1 1e+10 ",
     "  Input reference source: $0\n  Output node: $0\n  Reference node: $0\n"
     "  Frequency Parameters\n  Vertical axis scale: log\n  Horizontal axis scale: log\n"
     "  Horizontal axis range: 1 to 1e+10\n"},
    // Impedance at one port measures that port against itself; values outside the
    // enumerations act as the defaults.
    {"PZ", "", "pz  -env-options $0 $0 $0 $0 vol pz ", nullptr},
    {"PZ", "InputPlus:string{in} OutputPlus:string{out} PZpart:int{1}",
     "pz  -env-options in $0 out $0 vol pol ",
     "  Analysis Type: Gain Analysis\n  Analyses performed: Pole Analysis\n"
     "  Input (+) node: in\n  Input (-) node: $0\n  Output (+) node: out\n"
     "  Output (-) node: $0\n"},
    {"PZ",
     "InputPlus:string{in} InputMinus:string{ref} OutputPlus:string{out} "
     "OutputMinus:string{gnd2} PZpart:int{2} AnalysisType:int{2}",
     "pz  -env-options in ref in ref cur zer ",
     "  Analysis Type: Input Impedance\n  Analyses performed: Zero Analysis\n"
     "  Input (+) node: in\n  Input (-) node: ref\n"},
    {"PZ",
     "InputPlus:string{in} InputMinus:string{ref} OutputPlus:string{out} "
     "OutputMinus:string{gnd2} PZpart:int{2} AnalysisType:int{3}",
     "pz  -env-options out gnd2 out gnd2 cur zer ",
     "  Analysis Type: Output Impedence\n  Analyses performed: Zero Analysis\n"
     "  Output (+) node: out\n  Output (-) node: gnd2\n"},
    {"PZ", "PZpart:int{5} AnalysisType:int{7} InputPlus:string{a} OutputPlus:string{b}",
     "pz  -env-options a $0 b $0 vol pz ",
     "  Analysis Type: Gain Analysis\n  Analyses performed: Pole And Zero Analysis\n"
     "  Input (+) node: a\n  Input (-) node: $0\n  Output (+) node: b\n  Output (-) node: $0\n"},
    // The output is a voltage unless a named current source is used.
    {"TF", "", "tf  -env-options v($0,$0) $0 ", nullptr},
    {"TF", "OutputNode:string{out} InputRefSource:string{vin} UseCurrentSource:int{1}",
     "tf  -env-options v(out,$0) vin ", "  Input source: vin\n  Output current source: $0\n"},
    {"TF",
     "OutputNode:string{out} InputRefSource:string{vin} CurrentSource:string{vsense} "
     "OutputRefNode:string{ref}",
     "tf  -env-options v(out,ref) vin ",
     "  Input source: vin\n  Output node: out\n  Output reference node: ref\n"},
};

TEST(AnalysisKinds, CommandsAndSummariesFollowEachKindsOwnRules) {
    for (const RuleCase& c : kRuleCases) {
        SCOPED_TRACE(std::string(c.nickname) + " " + c.keys);
        const std::unique_ptr<Analysis> a = WithKeys(c.nickname, c.keys);
        EXPECT_EQ(CommandOf(*a), c.command);
        if (c.summary) {
            EXPECT_EQ(SettingsText(*a), std::string("Analysis settings\n") + c.summary);
        }
    }
}

// Kinds that choose sources and nodes list components through reset and copy, and their
// setters trim names; without summaries per point the noise is integrated.
TEST(AnalysisKinds, SourceAndNodeChoosersListComponentsAndTrimNames) {
    Analyses::DcSweep dc;
    dc.SetSource1("  vv1 ");
    dc.SetSource2("\tvv2  ");
    Analyses::Noise noise;
    noise.SetOutputNode("  out ");
    noise.SetReferenceNode("\tref");
    noise.SetInputNoiseRefSource("vin  ");
    Analyses::Tf tf;
    tf.SetInputRefSource("  vin\t");
    tf.SetCurrentSource(" vs ");
    tf.SetOutputNode(" out ");
    tf.SetOutputRefNode("\tref ");
    EXPECT_EQ(ChangedKeys(dc) + " | " + ChangedKeys(noise) + " | " + ChangedKeys(tf),
              "Source1:string{vv1} Source2:string{vv2} | InputRefSource:string{vin} "
              "OutputNode:string{out} ReferenceNode:string{ref} | InputRefSource:string{vin} "
              "CurrentSource:string{vs} OutputNode:string{out} OutputRefNode:string{ref}");
    EXPECT_EQ(noise.GetOutputVariableClass(), OVC_NOISE_CKTnames_int);
    for (Analysis* a : std::initializer_list<Analysis*>{&dc, &noise}) {
        a->reset();
        EXPECT_EQ(std::unique_ptr<Analysis>(a->Clone())->GetAnalysisNodes().GetMode(),
                  Analyses::AnalysisNodes::Components);
    }
}

// Readers walk the whole list: a value of the wrong type is skipped, an unknown
// label fails the record but the items after it are still applied.
struct ReaderCase {
    const char* nickname;
    const char* stored; ///< the kind's own list
    int result;
    const char* changed; ///< what the reading changed, as the analysis writes it
};

const ReaderCase kReaderCases[] = {
    {"OP", "Whatever:int{3} Other:string{x}", 1, ""},
    {"RUN", "Whatever:int{1} More:string{x}", 1, ""},
    {"AC", "FSTART:string{5} NPOINTS_PER_VARIATION:int{20} VARIATION:int{1} vscale:double{0}", 1,
     ""},
    {"AC", "BOGUS:int{1} fstart:double{7} FSTART:double{5} FSTOP:double{50}", 0,
     "FSTART:double{5} FSTOP:double{50} hrange:double{5} hrange:double{50}"},
    // The transient reader never fails.
    {"TRAN",
     "TSTOP:string{5} TSTEP:string{fast} IC:string{bogus} TPOINTS:double{7} "
     "USE_AUTO_TIME_STEP:string{1} TSTART:int{1}",
     1, ""},
    {"TRAN", "BOGUS:int{1} TSTOP:double{0.02} IC:string{zero_ic}", 1,
     "TSTOP:double{0.02} IC:string{zero_ic}"},
    {"FOUR",
     "FundFreq:int{50} NumFreqs:double{4} Plot:string{1} Tran:int{0} Variation:double{1} "
     "Bogus:int{1} LineGraph:int{0} Tran:list{TSTOP:double{0.004}} FundFreqSet:int{1}",
     0,
     "FundFreqSet:int{1} Tran:list{TSTEP:string{calculate} TSTOP:double{0.004} "
     "TSTART:double{0} TMAX:string{calculate} USE_AUTO_TIME_STEP:int{0} IC:string{auto_ic}} "
     "LineGraph:int{0}"},
    {"NOISE",
     "OutputNode:int{1} Mystery:int{2} PointsPerSummary:double{3} ReferenceNode:string{ r } "
     "FREQ_OPT:list{FSTART:double{10}}",
     0,
     "ReferenceNode:string{ r } FREQ_OPT:list{VARIATION:string{dec} "
     "NPOINTS_PER_VARIATION:double{10} FSTART:double{10} FSTOP:double{1e+10} vscale:int{1} "
     "hscale:int{1} hrange:double{10} hrange:double{1e+10}}"},
    {"DISTO",
     "F1OVERF2:int{3} F2OVERF1:double{0.5} USE_F1OVERF2:int{1} FREQ_OPT:string{x} "
     "FREQ_OPT:list{FSTOP:double{1000}}",
     0,
     "FREQ_OPT:list{VARIATION:string{dec} NPOINTS_PER_VARIATION:double{10} FSTART:double{1} "
     "FSTOP:double{1000} vscale:int{1} hscale:int{1} hrange:double{1} hrange:double{1000}} "
     "USE_F1OVERF2:int{1}"},
    // The keys say F1 over F2; an unused ratio is still stored.
    {"DISTO", "F1OVERF2:double{0.25}", 1, "F1OVERF2:double{0.25}"},
    // A nested sweep that does not read fails the record.
    {"DISTO", "FREQ_OPT:list{Bogus:int{1}}", 0, ""},
    {"DC_SWEEP", "Start1:int{3} UseSource2:double{1} Source1:int{4} NodeFilterSource1:string{2}", 1,
     ""},
    {"DC_SWEEP", "Start3:double{3} start1:double{9} Stop2:double{7} UseSource2:int{1}", 0,
     "UseSource2:int{1} Stop2:double{7}"},
    // Names are kept as stored; only the setters trim them.
    {"DC_SWEEP", "Source1:string{  vv1 } Source2:string{ x}", 1,
     "Source1:string{  vv1 } Source2:string{ x}"},
    {"PZ",
     "Bogus:int{1} InputPlus:int{3} OutputPlus:string{o} PZpart:string{1} AnalysisType:int{2}", 0,
     "OutputPlus:string{o} AnalysisType:int{2}"},
    // Kinds and parts outside their enumerations are kept as stored.
    {"PZ", "PZpart:int{5} AnalysisType:int{7}", 1, "PZpart:int{5} AnalysisType:int{7}"},
    {"TF",
     "OutputNode:int{4} Unknown:string{x} UseCurrentSource:string{1} CurrentSource:string{vs} "
     "NodeFilterOutputNode:int{16}",
     0, "NodeFilterOutputNode:int{16} CurrentSource:string{vs}"},
    {"USER", "USER_CMD:int{3}", 1, ""},
    {"USER", "Other:int{1} USER_CMD:string{op}", 0, "USER_CMD:string{op}"},
};

TEST(AnalysisKinds, ReadersSkipWrongTypesAndGoOnPastUnknownKeys) {
    for (const ReaderCase& c : kReaderCases) {
        SCOPED_TRACE(c.stored);
        std::unique_ptr<Analysis> a(NewAnalysisByNickname(c.nickname, nullptr));
        ASSERT_NE(a, nullptr);
        EXPECT_EQ(a->fromPropertyItem(Record(c.nickname, c.stored)), c.result);
        EXPECT_EQ(ChangedKeys(*a), c.changed);
    }
}

} // namespace
