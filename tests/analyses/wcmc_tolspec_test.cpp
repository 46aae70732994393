// Tolerances: nominal values, band ends, spread of draws, lots, seeds, writes, records, texts.
#include "analyses/compound/wcmc_tolspec.h"
#include "tests/support/scripted_engine.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

using canal_test::ParseRecord;
using canal_test::ScriptedEngine;

namespace {

// r1 (instance parameter resistance 1000 ohm) and the model qn (bf 100).
void FillCircuit(CSpiceCircuit circuit) {
    circuit.AddDevice("Resistor")
        .AddModel("rmod")
        .AddInstance("r1", {{"resistance", 1e3, "Resistance", "InputOutput"}});
    circuit.AddDevice("BJT").AddModel("qn", {{"bf", 100.0, "Forward beta", "InputOutput"}});
}

WcMcTolSpec Tolerance(const char* record) {
    WcMcTolSpec t;
    t.fromPropertyList(ParseRecord(record));
    return t;
}

WcMcTolSpec R1(double percent, const char* value = "value:double{1000}") {
    return Tolerance((CString("TolClass:int{1} TolValue:double{") +
                      CString::Formatted("%.17g", percent) +
                      "} MemberToSweep:list{name:string{r1} isinst:int{1}} "
                      "MemberParamToSweep:list{name:string{resistance} " +
                      value + "}")
                         .c_str());
}

std::vector<double> Draws(WcMcTolSpec& t, int n) {
    std::vector<double> out;
    for (int i = 0; i < n; ++i) {
        t.SetNewRandomValue();
        out.push_back(t.GetValue(WcMcTolSpec::Current));
    }
    return out;
}

double Mean(const std::vector<double>& v) {
    double sum = 0.0;
    for (double x : v)
        sum += x;
    return sum / static_cast<double>(v.size());
}

double Deviation(const std::vector<double>& v) {
    const double mean = Mean(v);
    double sum = 0.0;
    for (double x : v)
        sum += (x - mean) * (x - mean);
    return std::sqrt(sum / static_cast<double>(v.size()));
}

} // namespace

TEST(WcMcTolSpec, StartsWithPlaceholdersAndResetKeepsValues) {
    WcMcTolSpec t; // the other defaults show in the texts of a record without those keys
    EXPECT_EQ(t.GetValue(0), 42.0);
    EXPECT_EQ(t.GetValue(WcMcTolSpec::Saved), 42.0);

    t.SetValue(7.0, WcMcTolSpec::Current);
    t.PushValue();
    t.SetValue(8.0, WcMcTolSpec::Current);
    EXPECT_EQ(t.PopValue(), 8.0) << "the value before the pop";
    EXPECT_EQ(t.GetValue(0), 7.0);
    t.SetTolValue(5.0);
    t.SetLotNum(WcMcTolSpec::Lot4);
    t.reset();
    EXPECT_EQ(t.GetTolValue(), 0.0);
    EXPECT_EQ(t.GetLotNum(), WcMcTolSpec::Unique);
    EXPECT_EQ(t.GetValue(1), 7.0) << "reset leaves the values alone";

    EXPECT_EQ(WcMcTolSpec::GetDistributionName(WcMcTolSpec::Uniform), "Uniform");
    EXPECT_EQ(WcMcTolSpec::GetLotName(WcMcTolSpec::Unique), "Unique");
    EXPECT_EQ(WcMcTolSpec::GetLotName(WcMcTolSpec::Lot9), "Lot 9");
    EXPECT_EQ(WcMcTolSpec::GetLotName(static_cast<WcMcTolSpec::LotNum>(10)), "");
}

TEST(WcMcTolSpec, NominalComesFromTheValueTextOrTheCircuitAndSetsTheBandEnds) {
    WcMcTolSpec t = R1(10.0);
    EXPECT_EQ(t.GetOriginalValue(), 1000.0);
    EXPECT_DOUBLE_EQ(t.GetTolToAdjustValue(), 100.0);
    t.SetTolAdjustedValue(-1);
    EXPECT_DOUBLE_EQ(t.GetValue(0), 900.0);
    t.SetTolAdjustedValue(1);
    EXPECT_DOUBLE_EQ(t.GetValue(0), 1100.0);
    t.SetTolAdjustedValue(0);
    EXPECT_EQ(t.GetValue(0), 1000.0);
    t.SetTolType(WcMcTolSpec::Absolute);
    EXPECT_EQ(t.GetTolToAdjustValue(), 10.0);

    // Text is read as a C number: blanks and a plus sign lead, junk trails.
    EXPECT_EQ(R1(1, "value:string{ +2.5e3k}").GetOriginalValue(), 2500.0);
    EXPECT_EQ(R1(1, "value:string{abc}").GetOriginalValue(), 0.0);
    EXPECT_EQ(R1(1, "value:int{47}").GetOriginalValue(), 47.0);
    WcMcTolSpec zero = R1(10, "value:string{k}");
    EXPECT_EQ(zero.GetTolToAdjustValue(), 0.0) << "an unreadable nominal has no band";

    // Without a stored value the circuit's present value is the nominal, until
    // it is taken: values set for runs must not move it.
    ScriptedEngine engine;
    FillCircuit(engine.Circuit());
    WcMcTolSpec live = R1(10, "");
    EXPECT_EQ(live.GetOriginalValue(), 1000.0);
    EXPECT_EQ(live.TakeNominalFromCircuit(), 1);
    engine.Circuit()
        .FindDevice("Resistor")
        .FindModel(engine.Circuit(), "rmod")
        .FindInstance("r1")
        .SetParameterValue("resistance", CPropertyItem("value", 1234.0));
    EXPECT_EQ(live.GetOriginalValue(), 1000.0);
    EXPECT_EQ(live.GetMemberParameterToSweep().toPropertyList().GetList(),
              "name:string{resistance} value:double{1000}");
    EXPECT_EQ(R1(10, "").GetOriginalValue(), 1234.0);
}

TEST(WcMcTolSpec, UniformDrawsFillExactlyTheBand) {
    Random::SetMasterSeed(2024);
    WcMcTolSpec t = R1(10.0);
    t.SetDistribution(WcMcTolSpec::Uniform);
    const std::vector<double> v = Draws(t, 200000);
    const auto [low, high] = std::minmax_element(v.begin(), v.end());
    // A band 1% too narrow or too wide misses these edges by 1 ohm.
    EXPECT_GE(*low, 900.0);
    EXPECT_LT(*low, 900.02);
    EXPECT_LT(*high, 1100.0);
    EXPECT_GT(*high, 1099.98);
    EXPECT_NEAR(Mean(v), 1000.0, 0.3);
    EXPECT_NEAR(Deviation(v), 100.0 / std::sqrt(3.0), 0.2);
}

TEST(WcMcTolSpec, GaussianDrawsHaveAThirdOfTheToleranceAsSigmaAndAreNotClipped) {
    Random::SetMasterSeed(77);
    WcMcTolSpec t = R1(3.0); // deviation 30: sigma 10
    const std::vector<double> v = Draws(t, 500000);
    EXPECT_NEAR(Mean(v), 1000.0, 0.05);
    // 1% off in sigma would be 0.1; the estimate's own error is about 0.01.
    EXPECT_NEAR(Deviation(v), 10.0, 0.05);
    const auto count = [&](double half) {
        return std::count_if(v.begin(), v.end(),
                             [&](double x) { return std::fabs(x - 1000.0) > half; });
    };
    const double outside = static_cast<double>(count(30.0)) / 500000.0;
    EXPECT_GT(outside, 0.0020) << "draws beyond the band occur (0.27% for 3 sigma)";
    EXPECT_LT(outside, 0.0034);
    const double within = 1.0 - static_cast<double>(count(10.0)) / 500000.0;
    EXPECT_NEAR(within, 0.6827, 0.003);
}

TEST(WcMcTolSpec, LotsShareOneStreamWhileUniqueTolerancesDrawFromTheirOwn) {
    WcMcTolSpec a = R1(10.0);
    WcMcTolSpec b = R1(10.0);
    WcMcTolSpec u = R1(10.0);
    WcMcTolSpec w = R1(10.0);
    a.SetLotNum(WcMcTolSpec::Lot3);
    b.SetLotNum(WcMcTolSpec::Lot3);
    for (WcMcTolSpec* t : {&a, &b, &u, &w})
        t->SetDistribution(WcMcTolSpec::Uniform);
    EXPECT_EQ(&a.GetRandom(a), &b.GetRandom(b));
    EXPECT_EQ(&u.GetRandom(u), &u.GetRandom());
    EXPECT_NE(&u.GetRandom(u), &w.GetRandom(w));
    WcMcTolSpec lot4 = R1(10.0);
    lot4.SetLotNum(WcMcTolSpec::Lot4);
    EXPECT_NE(&lot4.GetRandom(lot4), &a.GetRandom(a));

    // Lot 3 hands out one sequence, whichever tolerance asks.
    const auto drawOf = [](WcMcTolSpec& t) {
        t.SetNewRandomValue();
        return t.GetValue(0);
    };
    Random::SetMasterSeed(5);
    const std::vector<double> abab = {drawOf(a), drawOf(b), drawOf(a),
                                      drawOf(u), drawOf(w), drawOf(u)};
    Random::SetMasterSeed(5);
    const std::vector<double> baab = {drawOf(b), drawOf(a), drawOf(a),
                                      drawOf(u), drawOf(u), drawOf(w)};
    EXPECT_EQ(abab[0], baab[0]);
    EXPECT_EQ(abab[1], baab[1]);
    EXPECT_EQ(abab[2], baab[2]);
    // u's own sequence does not care that w drew in between.
    EXPECT_EQ(abab[3], baab[3]);
    EXPECT_EQ(abab[5], baab[4]);
    EXPECT_EQ(abab[4], baab[5]);
    EXPECT_NE(abab[3], abab[4]) << "two unique tolerances draw from different streams";
}

TEST(WcMcTolSpec, OneMasterSeedRepeatsEveryDrawEvenForStreamsMadeBeforeIt) {
    // Made before any seed is set, as the lot streams are at start-up.
    WcMcTolSpec lot = R1(5.0);
    lot.SetLotNum(WcMcTolSpec::Lot1);
    WcMcTolSpec own = R1(5.0);
    const auto run = [&](uint64_t seed) {
        Random::SetMasterSeed(seed);
        std::vector<double> v = Draws(lot, 3);
        for (double x : Draws(own, 3))
            v.push_back(x);
        return v;
    };
    const std::vector<double> first = run(9);
    EXPECT_EQ(run(9), first);
    EXPECT_NE(run(10), first);
    EXPECT_EQ(run(9), first);
}

TEST(WcMcTolSpec, SetOnSimulatorWritesInstanceAndModelParametersAsLgText) {
    ScriptedEngine engine;
    FillCircuit(engine.Circuit());
    WcMcTolSpec r1 = R1(10.0);
    r1.SetValue(1012.345678, WcMcTolSpec::Current);
    r1.SetValue(990.0, WcMcTolSpec::Saved);
    WcMcTolSpec bf =
        Tolerance("TolClass:int{0} TolValue:double{20} MemberToSweep:list{model:string{qn} "
                  "isinst:int{0}} MemberParamToSweep:list{name:string{bf} value:int{100}}");
    bf.SetValue(97.0, WcMcTolSpec::Current);

    CInstrumentInterface* snapIn = engine.GetSimulatorSnapIn();
    EXPECT_EQ(r1.SetOnSimulator(snapIn, WcMcTolSpec::Current), 1);
    EXPECT_EQ(r1.SetOnSimulator(snapIn, WcMcTolSpec::Saved), 1);
    EXPECT_EQ(bf.SetOnSimulator(snapIn, WcMcTolSpec::Current), 1);
    EXPECT_EQ(bf.SetOnSimulator(nullptr, WcMcTolSpec::Current), 0);
    const auto& sets = engine.ParameterSets();
    ASSERT_EQ(sets.size(), 3u);
    EXPECT_EQ(sets[0].id, 2018);
    EXPECT_EQ(sets[0].names, (CStringArray{"Resistor", "rmod", "r1", "resistance"}));
    EXPECT_EQ(sets[0].value, "1012.35");
    EXPECT_EQ(sets[1].value, "990");
    EXPECT_EQ(sets[2].id, 2019);
    EXPECT_EQ(sets[2].names, (CStringArray{"BJT", "qn", "bf"}));
    EXPECT_EQ(sets[2].value, "97");
    const CSpiceParameterList qn =
        engine.Circuit().FindDevice("BJT").FindModel(engine.Circuit(), "qn").GetParameters();
    EXPECT_EQ(qn[0].value.GetType(), "int") << "the value keeps the parameter's type";

    EXPECT_EQ(r1.GetSensitivityVectorName(), "r1_resistance");
    EXPECT_EQ(bf.GetSensitivityVectorName(), "qn:bf");
}

TEST(WcMcTolSpec, NewCircuitFindsTheElementAgainByName) {
    ScriptedEngine engine;
    FillCircuit(engine.Circuit());
    WcMcTolSpec t = R1(10.0);
    ASSERT_TRUE(t.GetMemberToSweep().IsResolved());
    CSpiceCircuit rebuilt = engine.Session().NewCircuit();
    rebuilt.FindDevice("Resistor").AddModel("rmod").AddInstance("r1", {{"resistance", 3e3}});
    t.TolSpecWithNewCirc(nullptr, engine);
    EXPECT_TRUE(t.GetMemberToSweep().GetCircuit().IsSameCircuit(rebuilt));
    EXPECT_TRUE(t.GetMemberToSweep().IsResolved());
    EXPECT_EQ(t.GetMemberToSweep().FindParameter("resistance")->GetValue().GetDouble(), 3e3);
}

TEST(WcMcTolSpec, RecordKeepsKeyOrderAndReadsBackWhatItWrote) {
    ScriptedEngine engine;
    engine.Circuit()
        .AddDevice("Resistor")
        .AddModel("rmod")
        .AddInstance("r1", {{"resistance", 1e3}});
    WcMcTolSpec t = R1(2.5);
    t.SetDistribution(WcMcTolSpec::Uniform);
    t.SetLotNum(WcMcTolSpec::Lot2);
    const CString text = t.toPropertyList().GetList();
    EXPECT_EQ(text, "Distr:int{0} LotNum:int{2} TolClass:int{1} TolType:int{1} "
                    "TolValue:double{2.5} MemberToSweep:list{device:string{Resistor} "
                    "model:string{rmod} name:string{r1} isinst:int{1} "
                    "param:list{name:string{resistance} value:double{1000} description:string{} "
                    "mode:string{InputOutput}}} "
                    "MemberParamToSweep:list{name:string{resistance} value:double{1000}}");
    WcMcTolSpec back;
    EXPECT_EQ(back.fromPropertyList(t.toPropertyList()), 1);
    EXPECT_EQ(back.toPropertyList().GetList(), text);

    // Absent keys and items of the wrong type leave fields as they were; an
    // unknown key fails the read without stopping it.
    WcMcTolSpec partial;
    EXPECT_EQ(partial.fromPropertyList(ParseRecord("Distr:int{0} TolType:double{0} Bogus:int{1} "
                                                   "TolValue:double{4}")),
              0);
    EXPECT_EQ(partial.GetDistribution(), WcMcTolSpec::Uniform);
    EXPECT_EQ(partial.GetTolType(), WcMcTolSpec::Percent);
    EXPECT_EQ(partial.GetTolValue(), 4.0);
    EXPECT_EQ(partial.fromPropertyList(ParseRecord("MemberParamToSweep:list{odd:int{1}}")), 0);
}

TEST(WcMcTolSpec, TextsDescribeTheToleranceWithTheLotHeadingAlways) {
    WcMcTolSpec bf =
        Tolerance("TolValue:double{5} MemberToSweep:list{model:string{qn} isinst:int{0}} "
                  "MemberParamToSweep:list{name:string{bf} value:double{100}}");
    EXPECT_EQ(bf.toShortDescription(0), "Model value: 5%");
    EXPECT_EQ(bf.toShortDescription(1),
              "Model value: 5%, Distribution: Gaussian, Lot number: Unique");
    WcMcTolSpec r1 = R1(10.0);
    r1.SetTolType(WcMcTolSpec::Absolute);
    r1.SetLotNum(WcMcTolSpec::Lot7);
    r1.SetDistribution(WcMcTolSpec::Uniform);
    EXPECT_EQ(r1.toShortDescription(1),
              "Instance value: 10, Distribution: Uniform, Lot number: Lot 7");

    CTreeCtrl ctrl;
    CTreeLog log("", "", &ctrl);
    bf.toReadableText(log, nullptr);
    r1.toReadableText(log, nullptr);
    EXPECT_EQ(ctrl.ToText(), "Model: qn, Parameter: bf\n"
                             "  Lot Tolerance\n"
                             "    Distribution: Gaussian\n"
                             "    Lot number: Unique\n"
                             "    Tolerance value: 5%\n"
                             "Instance: r1, Parameter: resistance\n"
                             "  Lot Tolerance\n"
                             "    Distribution: Uniform\n"
                             "    Lot number: Lot 7\n"
                             "    Tolerance value: 10\n");
}

TEST(WcMcTolSpec, ValidationRefusesNonPositivePercentOfZeroAndFromHundredPercentOn) {
    WcMcTolSpec t = R1(10.0);
    EXPECT_EQ(ValidateTolSpec(t), "");
    t.SetTolValue(99.999);
    EXPECT_EQ(ValidateTolSpec(t), "");
    t.SetTolValue(100.0);
    EXPECT_EQ(ValidateTolSpec(t), "Error: Tolerance must be less than or equal to 100%.");
    t.SetTolType(WcMcTolSpec::Absolute);
    EXPECT_EQ(ValidateTolSpec(t), "") << "an absolute tolerance has no upper limit";
    t.SetTolValue(0.0);
    EXPECT_EQ(ValidateTolSpec(t), "Error: Tolerance is less than or equal to zero.");
    t.SetTolValue(-1.0);
    t.SetTolType(WcMcTolSpec::Percent);
    EXPECT_EQ(ValidateTolSpec(t), "Error: Tolerance is less than or equal to zero.")
        << "checked first";

    WcMcTolSpec zero = R1(150.0, "value:double{0}");
    EXPECT_EQ(ValidateTolSpec(zero),
              "Error: Tolerance cannot be set as percentage if the value is zero.");
    zero.SetTolType(WcMcTolSpec::Absolute);
    EXPECT_EQ(ValidateTolSpec(zero), "");
}
