// Tolerances: nominal values, band ends, spread of draws, lots, seeds, writes, records, texts.
#include "analyses/compound/wcmc_tolspec.h"
#include "tests/analyses/wcmc_fixture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

using canal_test::ParseRecord;
using canal_test::ScriptedEngine;

namespace {

using Values = std::vector<double>;

using wcmc_test::FillCircuit;

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

const char* const kBf = "TolValue:double{5} MemberToSweep:list{model:string{qn} isinst:int{0}} "
                        "MemberParamToSweep:list{name:string{bf} value:int{100}}";

Values Draws(WcMcTolSpec& t, int n) {
    Values out;
    for (int i = 0; i < n; ++i) {
        t.SetNewRandomValue();
        out.push_back(t.GetValue(WcMcTolSpec::Current));
    }
    return out;
}

// Mean and standard deviation (divisor n).
std::pair<double, double> Spread(const Values& v) {
    double sum = 0.0;
    double squares = 0.0;
    for (double x : v)
        sum += x;
    const double mean = sum / static_cast<double>(v.size());
    for (double x : v)
        squares += (x - mean) * (x - mean);
    return {mean, std::sqrt(squares / static_cast<double>(v.size()))};
}

} // namespace

TEST(WcMcTolSpec, StartsWithPlaceholdersAndResetKeepsValues) {
    WcMcTolSpec t; // the other defaults show in the texts of a record without those keys
    EXPECT_EQ(t.GetValue(WcMcTolSpec::Current) + t.GetValue(WcMcTolSpec::Saved), 84.0);
    t.SetValue(7.0, WcMcTolSpec::Saved);
    t.SetTolValue(5.0);
    t.SetLotNum(WcMcTolSpec::Lot4);
    t.reset();
    EXPECT_EQ(t.toShortDescription(1),
              "Model value: 0%, Distribution: Gaussian, Lot number: Unique");
    EXPECT_EQ(t.GetValue(WcMcTolSpec::Saved), 7.0) << "reset leaves the values alone";
    EXPECT_EQ(WcMcTolSpec::GetLotName(static_cast<WcMcTolSpec::LotNum>(10)), "");
}

TEST(WcMcTolSpec, NominalComesFromTheValueTextOrTheCircuitAndSetsTheBandEnds) {
    WcMcTolSpec t = R1(10.0);
    EXPECT_DOUBLE_EQ(t.GetTolToAdjustValue(), 100.0);
    for (const auto& [end, value] :
         {std::pair(-1, 900.0), std::pair(1, 1100.0), std::pair(0, 1e3)}) {
        t.SetTolAdjustedValue(end);
        EXPECT_DOUBLE_EQ(t.GetValue(0), value) << end;
    }
    t.SetTolType(WcMcTolSpec::Absolute);
    EXPECT_EQ(t.GetTolToAdjustValue(), 10.0);

    // Text is read as a C number: blanks and a plus sign lead, junk trails; an unreadable
    // nominal has no band.
    for (const auto& [text, nominal] :
         {std::pair("value:string{ +2.5e3k}", 2500.0), std::pair("value:string{abc}", 0.0),
          std::pair("value:int{47}", 47.0), std::pair("value:double{1000}", 1000.0)}) {
        const WcMcTolSpec read = R1(10, text);
        EXPECT_EQ(read.GetOriginalValue(), nominal) << text;
        EXPECT_DOUBLE_EQ(read.GetTolToAdjustValue(), nominal / 10) << text;
    }

    // Without a stored value the circuit's present value is the nominal, until
    // it is taken: values set for runs must not move it.
    ScriptedEngine engine;
    FillCircuit(engine.Circuit());
    WcMcTolSpec live = R1(10, "");
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

TEST(WcMcTolSpec, UniformDrawsFillExactlyTheBandGaussianOnesHaveAThirdAsSigmaUnclipped) {
    Random::SetMasterSeed(2024);
    WcMcTolSpec uniform = R1(10.0);
    uniform.SetDistribution(WcMcTolSpec::Uniform);
    const Values u = Draws(uniform, 200000);
    const auto [low, high] = std::minmax_element(u.begin(), u.end());
    // A band 1% too narrow or too wide misses these edges by 1 ohm.
    EXPECT_GE(*low, 900.0);
    EXPECT_LT(*low, 900.02);
    EXPECT_LT(*high, 1100.0);
    EXPECT_GT(*high, 1099.98);

    Random::SetMasterSeed(77);
    WcMcTolSpec gauss = R1(3.0); // deviation 30: sigma 10
    const Values g = Draws(gauss, 500000);
    EXPECT_NEAR(Spread(g).first, 1000.0, 0.05);
    // 1% off in sigma would be 0.1; the estimate's own error is about 0.01.
    EXPECT_NEAR(Spread(g).second, 10.0, 0.05);
    const double outside =
        static_cast<double>(std::count_if(g.begin(), g.end(),
                                          [](double x) { return std::fabs(x - 1000.0) > 30.0; })) /
        500000.0;
    EXPECT_GT(outside, 0.0020) << "draws beyond the band occur (0.27% for 3 sigma)";
    EXPECT_LT(outside, 0.0034);
}

TEST(WcMcTolSpec, LotsShareOneStreamUniqueTolerancesDrawFromTheirOwnAndTheSeedRepeatsAll) {
    // Made before any seed is set, as the lot streams are at start-up.
    WcMcTolSpec a = R1(10.0), b = R1(10.0), u = R1(10.0), w = R1(10.0), lot4 = R1(10.0);
    a.SetLotNum(WcMcTolSpec::Lot3);
    b.SetLotNum(WcMcTolSpec::Lot3);
    lot4.SetLotNum(WcMcTolSpec::Lot4);
    EXPECT_NE(&lot4.GetRandom(lot4), &a.GetRandom(a));

    const auto draws = [](uint64_t seed, std::vector<WcMcTolSpec*> order) {
        Random::SetMasterSeed(seed);
        Values v;
        for (WcMcTolSpec* t : order)
            v.push_back(Draws(*t, 1)[0]);
        return v;
    };
    // Lot 3 hands out one sequence, whichever tolerance asks; u's own sequence does not
    // care that w drew in between.
    const Values abab = draws(5, {&a, &b, &a, &u, &w, &u});
    EXPECT_EQ(draws(5, {&b, &a, &a, &u, &u, &w}),
              (Values{abab[0], abab[1], abab[2], abab[3], abab[5], abab[4]}));
    EXPECT_NE(abab[3], abab[4]) << "two unique tolerances draw from different streams";
    EXPECT_EQ(draws(5, {&a, &b, &a, &u, &w, &u}), abab);
    EXPECT_NE(draws(6, {&a, &b, &a, &u, &w, &u}), abab);
}

TEST(WcMcTolSpec, SetOnSimulatorWritesInstanceAndModelParametersAsLgText) {
    ScriptedEngine engine;
    FillCircuit(engine.Circuit());
    WcMcTolSpec r1 = R1(10.0);
    r1.SetValue(1012.345678, WcMcTolSpec::Current);
    r1.SetValue(990.0, WcMcTolSpec::Saved);
    WcMcTolSpec bf = Tolerance(kBf);
    bf.SetValue(97.0, WcMcTolSpec::Current);

    CInstrumentInterface* snapIn = engine.GetSimulatorSnapIn();
    EXPECT_EQ(r1.SetOnSimulator(snapIn, WcMcTolSpec::Current), 1);
    EXPECT_EQ(r1.SetOnSimulator(snapIn, WcMcTolSpec::Saved), 1);
    EXPECT_EQ(bf.SetOnSimulator(snapIn, WcMcTolSpec::Current), 1);
    EXPECT_EQ(bf.SetOnSimulator(nullptr, WcMcTolSpec::Current), 0);
    std::string sets;
    for (const canal_test::ScriptedParameterSet& set : engine.ParameterSets()) {
        sets += std::to_string(set.id);
        for (const CString& name : set.names)
            sets += " " + name.str();
        sets += " = " + set.value.str() + "\n";
    }
    EXPECT_EQ(sets, "2018 Resistor rmod r1 resistance = 1012.35\n"
                    "2018 Resistor rmod r1 resistance = 990\n"
                    "2019 BJT qn bf = 97\n");
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
    EXPECT_EQ(t.GetMemberToSweep().FindParameter("resistance")->GetValue().GetDouble(), 3e3);
}

TEST(WcMcTolSpec, RecordKeepsKeyOrderAndReadsBackWhatItWrote) {
    ScriptedEngine engine;
    FillCircuit(engine.Circuit());
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
    EXPECT_EQ(partial.toShortDescription(1),
              "Model value: 4%, Distribution: Uniform, Lot number: Unique");
    EXPECT_EQ(partial.fromPropertyList(ParseRecord("MemberParamToSweep:list{odd:int{1}}")), 0);
}

TEST(WcMcTolSpec, TextsDescribeTheToleranceWithTheLotHeadingAlways) {
    const WcMcTolSpec bf = Tolerance(kBf);
    EXPECT_EQ(bf.toShortDescription(0), "Model value: 5%");
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
    const char* const positive = "Error: Tolerance is less than or equal to zero.";
    const struct {
        WcMcTolSpec::TolType type;
        double tolerance;
        const char* nominal;
        const char* error;
    } rows[] = {
        {WcMcTolSpec::Percent, 10, "value:double{1000}", ""},
        {WcMcTolSpec::Percent, 99.999, "value:double{1000}", ""},
        {WcMcTolSpec::Percent, 100, "value:double{1000}",
         "Error: Tolerance must be less than or equal to 100%."},
        {WcMcTolSpec::Absolute, 100, "value:double{1000}", ""}, // no upper limit
        {WcMcTolSpec::Absolute, 0, "value:double{1000}", positive},
        {WcMcTolSpec::Percent, -1, "value:double{0}", positive}, // checked first
        {WcMcTolSpec::Percent, 150, "value:double{0}",
         "Error: Tolerance cannot be set as percentage if the value is zero."},
        {WcMcTolSpec::Absolute, 150, "value:double{0}", ""},
    };
    for (const auto& r : rows) {
        WcMcTolSpec t = R1(r.tolerance, r.nominal);
        t.SetTolType(r.type);
        EXPECT_EQ(ValidateTolSpec(t), r.error) << r.tolerance << " " << r.nominal;
    }
}
