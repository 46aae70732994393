// Sweep variation: setter side effects, every kind's walk, persistence and the summary.
#include "analyses/compound/sweep_variation.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

std::vector<double> Walk(const SweepVariation& v, int* outOfRange = nullptr) {
    std::vector<double> values;
    SweepVariationIterator it(v);
    for (; it; ++it)
        values.push_back(*it);
    if (outOfRange)
        *outOfRange = it.GetSweepVariation().IsOutOfRange();
    return values;
}

SweepVariation Make(SweepVariation::Variation kind, double start, double stop) {
    SweepVariation v;
    v.SetVariation(kind);
    v.SetStart(start);
    v.SetStop(stop);
    return v;
}

std::string Summary(const SweepVariation& v) {
    CTreeCtrl ctrl;
    CTreeLog log("", "", &ctrl);
    v.toReadableText(log, nullptr);
    return ctrl.ToText();
}

using Values = std::vector<double>;

TEST(SweepVariation, LinearWalksFollowThePointCountOrTheIncrement) {
    SweepVariation up = Make(SweepVariation::lin, 1, 10);
    up.SetNumPoints(10);
    EXPECT_EQ(up.GetIncrement(), 1.0);
    EXPECT_EQ(Walk(up), (Values{1, 2, 3, 4, 5, 6, 7, 8, 9, 10}));

    // Descending by 2: five points, the walk stops on the count before reaching 1.
    SweepVariation down = Make(SweepVariation::lin, 10, 1);
    down.SetIncrement(2);
    EXPECT_EQ(down.GetIncrement(), -2.0);
    EXPECT_EQ(down.GetNumPoints(), 5.0);
    EXPECT_EQ(Walk(down), (Values{10, 8, 6, 4, 2}));

    SweepVariation flat = Make(SweepVariation::lin, 3, 3);
    flat.SetNumPoints(7);
    EXPECT_EQ(flat.GetNumPoints(), 1.0);
    EXPECT_EQ(flat.GetIncrement(), 0.0);
    EXPECT_EQ(Walk(flat), (Values{3}));

    SweepVariation two = Make(SweepVariation::lin, -1, 1);
    two.SetNumPoints(1);
    EXPECT_EQ(two.GetNumPoints(), 2.0);
    EXPECT_EQ(two.GetIncrement(), 2.0);
    EXPECT_EQ(Walk(two), (Values{-1, 1}));

    SweepVariation none = Make(SweepVariation::lin, 0, 5);
    none.SetIncrement(0);
    EXPECT_EQ(none.GetNumPoints(), 1.0);
    EXPECT_EQ(Walk(none), (Values{0}));
}

TEST(SweepVariation, OvershootingStepsLandOnTheStopAndEndThere) {
    // A count left over from a decade walk: the step overshoots, the last value
    // is clamped to the stop, and a count larger than the walk does not repeat it.
    SweepVariation v = Make(SweepVariation::dec, 1, 150);
    ASSERT_EQ(v.GetNumPoints(), 4.0);
    v.SetIncrement(60); // stored only, the kind is still decade
    EXPECT_EQ(v.GetNumPoints(), 4.0);
    v.SetVariation(SweepVariation::lin);
    EXPECT_EQ(Walk(v), (Values{1, 61, 121, 150}));

    SweepVariation stale = Make(SweepVariation::dec, 1, 1000);
    stale.SetIncrement(600);
    stale.SetVariation(SweepVariation::lin);
    EXPECT_EQ(Walk(stale), (Values{1, 601, 1000}));
}

TEST(SweepVariation, LogarithmicWalksHaveOnePointPerStepPlusTheStop) {
    int flag = -1;
    SweepVariation dec = Make(SweepVariation::dec, 1, 150);
    EXPECT_EQ(dec.GetNumPoints(), 4.0);
    EXPECT_EQ(Walk(dec, &flag), (Values{1, 10, 100, 150}));
    EXPECT_EQ(flag, 0);

    SweepVariation exact = Make(SweepVariation::dec, 1, 100);
    EXPECT_EQ(exact.GetNumPoints(), 3.0);
    EXPECT_EQ(Walk(exact), (Values{1, 10, 100}));

    SweepVariation oct = Make(SweepVariation::oct, 1, 8);
    EXPECT_EQ(oct.GetNumPoints(), 4.0);
    EXPECT_EQ(Walk(oct, &flag), (Values{1, 2, 4, 8}));
    EXPECT_EQ(flag, 0);

    SweepVariation zero = Make(SweepVariation::dec, 0, 1e-9);
    EXPECT_EQ(zero.GetStart(), 1e-12);
    EXPECT_EQ(Walk(zero).front(), 1e-12);
}

TEST(SweepVariation, LogarithmicBoundsStayPositiveAndOrdered) {
    SweepVariation v = Make(SweepVariation::dec, 10, 1000);
    EXPECT_EQ(v.GetNumPoints(), 3.0);
    v.SetStop(5); // below the start: the start comes down to it
    EXPECT_EQ(v.GetStart(), 5.0);
    EXPECT_EQ(v.GetStop(), 5.0);
    EXPECT_EQ(v.GetNumPoints(), 1.0);
    v.SetStart(50); // above the stop: the stop goes up to it
    EXPECT_EQ(v.GetStart(), 50.0);
    EXPECT_EQ(v.GetStop(), 50.0);
    v.SetStop(-2000);
    EXPECT_EQ(v.GetStop(), 2000.0);
    EXPECT_EQ(v.GetStart(), 50.0);
    v.SetStart(-1e-20);
    EXPECT_EQ(v.GetStart(), 1e-12);

    // Linear walks keep signs and order as given.
    SweepVariation lin = Make(SweepVariation::lin, 5, -5);
    EXPECT_EQ(lin.GetStart(), 5.0);
    EXPECT_EQ(lin.GetStop(), -5.0);
}

TEST(SweepVariation, LogarithmicWalkWithAStaleCountFlagsLeavingItsRange) {
    // Switched from a ten-point linear walk: the decade walk runs past its
    // stop while points remain. Only the iterator's copy carries the flag.
    SweepVariation v = Make(SweepVariation::lin, 1, 100);
    v.SetNumPoints(10);
    v.SetVariation(SweepVariation::dec);
    int flag = 0;
    EXPECT_EQ(Walk(v, &flag), (Values{1, 10, 100}));
    EXPECT_EQ(flag, 1);
    EXPECT_EQ(v.IsOutOfRange(), 0);

    SweepVariation fromZero = Make(SweepVariation::lin, 0, 10);
    fromZero.SetNumPoints(3);
    fromZero.SetVariation(SweepVariation::oct);
    EXPECT_TRUE(Walk(fromZero, &flag).empty());
    EXPECT_EQ(flag, 1);
}

TEST(SweepVariation, ListWalksVisitAtMost51ItemsInTheirOwnOrder) {
    SweepVariation v;
    v.SetVariation(SweepVariation::list);
    for (int i = 0; i < 60; ++i)
        v.SetNthListItem(i, i * 0.5);
    v.SetNumListItems(60);
    const Values walked = Walk(v);
    ASSERT_EQ(walked.size(), 51u);
    EXPECT_EQ(walked.back(), 25.0);

    // No clamping to start/stop, no ordering.
    v.SetNumListItems(3);
    v.SetNthListItem(0, 5);
    v.SetNthListItem(1, -3);
    v.SetNthListItem(2, 7);
    EXPECT_EQ(Walk(v), (Values{5, -3, 7}));

    v.SetNumListItems(0);
    EXPECT_TRUE(Walk(v).empty());

    // The iterator walks its own copy.
    v.SetNumListItems(2);
    SweepVariationIterator it(v);
    v.SetNthListItem(1, 99);
    ++it;
    EXPECT_EQ(*it, -3.0);
    it.reset();
    EXPECT_EQ(*it, 5.0);
}

TEST(SweepVariation, ResetKeepsTheKindAndTheListValues) {
    SweepVariation v = Make(SweepVariation::oct, 2, 64);
    v.SetNthListItem(0, 42);
    v.SetNumListItems(1);
    v.reset();
    EXPECT_EQ(v.GetVariation(), SweepVariation::oct);
    EXPECT_EQ(v.GetStart(), 0.0);
    EXPECT_EQ(v.GetStop(), 0.0);
    EXPECT_EQ(v.GetNumPoints(), 0.0);
    EXPECT_EQ(v.GetNumListItems(), 0);
    EXPECT_EQ(v.GetNthListItem(0), 42.0);
}

TEST(SweepVariation, OneLineTextNamesTheKindAndItsValues) {
    SweepVariation lin = Make(SweepVariation::lin, 1, 10);
    lin.SetIncrement(1);
    EXPECT_EQ(lin.toString(), "lin 1 10 1 ");
    EXPECT_EQ(Make(SweepVariation::oct, 1e-6, 2.5e6).toString(), "oct 1e-06 2.5e+06 0 ");

    SweepVariation list;
    list.SetVariation(SweepVariation::list);
    list.SetNthListItem(0, 1);
    list.SetNthListItem(1, 0.125);
    list.SetNthListItem(2, 1e6);
    list.SetNumListItems(3);
    EXPECT_EQ(list.toString(), "list 1 0.125 1e+06 ");

    SweepVariation odd = Make(SweepVariation::lin, 2, 4);
    odd.SetVariation(static_cast<SweepVariation::Variation>(7));
    EXPECT_EQ(odd.toString(), "dec 2 4 2 ");
    EXPECT_TRUE(Walk(odd).empty());
}

TEST(SweepVariation, SummaryPairsPointLabelsWithTheRawKind) {
    EXPECT_EQ(Summary(Make(SweepVariation::dec, 1, 150)), "Sweep type: Decade\n"
                                                          "Number of points per decade: 4\n"
                                                          "Starting value for sweep: 1\n"
                                                          "Stop value for sweep: 150\n");
    SweepVariation lin = Make(SweepVariation::lin, 0, 2);
    lin.SetNumPoints(5);
    EXPECT_EQ(Summary(lin), "Sweep type: Linear\n"
                            "Number of points per octave: 5\n"
                            "Starting value for sweep: 0\n"
                            "Stop value for sweep: 2\n");
    EXPECT_EQ(Summary(Make(SweepVariation::oct, 1, 8)), "Sweep type: Octave\n"
                                                        "Number of points: 4\n"
                                                        "Starting value for sweep: 1\n"
                                                        "Stop value for sweep: 8\n");

    SweepVariation list;
    list.SetVariation(SweepVariation::list);
    list.SetNthListItem(0, 300);
    list.SetNthListItem(1, 1e-3);
    list.SetNumListItems(2);
    EXPECT_EQ(Summary(list), "Sweep type: List\n  300\n  0.001\n");
}

TEST(SweepVariation, RecordsRoundTripInTheFixedKeyOrder) {
    SweepVariation lin = Make(SweepVariation::lin, 1, 10);
    lin.SetNumPoints(4);
    EXPECT_EQ(lin.toPropertyList().GetList(),
              "Variation:int{1} Start:double{1} Stop:double{10} NumItems:double{4} List:array{}");

    SweepVariation copy;
    EXPECT_EQ(copy.fromPropertyList(lin.toPropertyList()), 1);
    EXPECT_EQ(copy.GetVariation(), SweepVariation::lin);
    EXPECT_EQ(copy.GetIncrement(), 3.0); // recomputed from start and stop
    EXPECT_EQ(Walk(copy), (Values{1, 4, 7, 10}));

    SweepVariation list;
    list.SetVariation(SweepVariation::list);
    list.SetNthListItem(0, 2.5);
    list.SetNthListItem(1, -7);
    list.SetNumListItems(2);
    const CPropertyList record = list.toPropertyList();
    EXPECT_EQ(
        record.GetList(),
        "Variation:int{3} Start:double{0} Stop:double{0} NumItems:double{0} List:array{2.5 -7}");
    SweepVariation back;
    EXPECT_EQ(back.fromPropertyList(CPropertyList(record.GetList())), 1);
    EXPECT_EQ(back.toString(), "list 2.5 -7 ");

    // A hand-written decade record: the count comes from start and stop, not the file.
    SweepVariation dec;
    EXPECT_EQ(dec.fromPropertyList(CPropertyList(
                  "Variation:int{0} Start:double{1} Stop:double{150} NumItems:double{99}")),
              1);
    EXPECT_EQ(dec.GetNumPoints(), 4.0);
}

TEST(SweepVariation, ReadingSkipsWrongTypesFlagsUnknownKeysAndRefusesFullLists) {
    SweepVariation v;
    v.SetVariation(SweepVariation::list);
    v.SetNthListItem(0, 1);
    v.SetNumListItems(1);

    EXPECT_EQ(v.fromPropertyList(CPropertyList(
                  "Start:int{5} Stop:string{x} Variation:double{2} Extra:int{1} Stop:double{9}")),
              0);
    EXPECT_EQ(v.GetStart(), 0.0);
    EXPECT_EQ(v.GetStop(), 9.0);
    EXPECT_EQ(v.GetVariation(), SweepVariation::list);

    auto listOf = [](int count) {
        CPropertyList record;
        std::vector<double> values(static_cast<size_t>(count));
        for (int i = 0; i < count; ++i)
            values[static_cast<size_t>(i)] = i + 100;
        record.AddItem(CPropertyItem("List", values.data(), count));
        return record;
    };
    EXPECT_EQ(v.fromPropertyList(listOf(256)), 1);
    EXPECT_EQ(v.GetNumListItems(), 1);
    EXPECT_EQ(v.GetNthListItem(0), 1.0);
    EXPECT_EQ(v.fromPropertyList(listOf(255)), 1);
    EXPECT_EQ(v.GetNumListItems(), 255);
    EXPECT_EQ(v.GetNthListItem(254), 354.0);
}

} // namespace
