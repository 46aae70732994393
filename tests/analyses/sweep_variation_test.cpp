// Sweep variation: setter side effects, every kind's walk, persistence and the summary.
#include "analyses/compound/sweep_variation.h"

#include <gtest/gtest.h>

#include <cmath>
#include <utility>
#include <vector>

namespace {

using Values = std::vector<double>;
using V = SweepVariation;

Values Walk(const SweepVariation& v, int* outOfRange = nullptr) {
    Values values;
    SweepVariationIterator it(v);
    for (; it; ++it)
        values.push_back(*it);
    if (outOfRange)
        *outOfRange = it.GetSweepVariation().IsOutOfRange();
    return values;
}

SweepVariation Make(V::Variation kind, double start, double stop) {
    SweepVariation v;
    v.SetVariation(kind);
    v.SetStart(start);
    v.SetStop(stop);
    return v;
}

SweepVariation List(const Values& items) {
    SweepVariation v;
    v.SetVariation(V::list);
    for (size_t i = 0; i < items.size(); ++i)
        v.SetNthListItem(static_cast<int>(i), items[i]);
    v.SetNumListItems(static_cast<int>(items.size()));
    return v;
}

std::string Summary(const SweepVariation& v) {
    CTreeCtrl ctrl;
    CTreeLog log("", "", &ctrl);
    v.toReadableText(log, nullptr);
    return ctrl.ToText();
}

TEST(SweepVariation, WalksFollowTheKindTheCountOrTheIncrementAndFlagLeavingTheRange) {
    // A count (`points`) or an increment is set unless NAN; `then` switches the kind after
    // that, leaving a count computed for another kind. `count` and `step` are read before the
    // switch (NAN: not checked).
    constexpr double no = NAN;
    const struct Row {
        V::Variation kind;
        double start, stop, points, increment;
        int then;
        double count, step;
        Values walk;
        int outOfRange;
    } rows[] = {
        {V::lin, 1, 10, 10, no, -1, 10, 1, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10}, 0},
        // Descending by 2: five points, the count ends the walk before reaching 1.
        {V::lin, 10, 1, no, 2, -1, 5, -2, {10, 8, 6, 4, 2}, 0},
        {V::lin, 3, 3, 7, no, -1, 1, 0, {3}, 0},
        {V::lin, -1, 1, 1, no, -1, 2, 2, {-1, 1}, 0},
        {V::lin, 0, 5, no, 0, -1, 1, no, {0}, 0},
        // An increment set on a decade walk is stored only; as a linear walk it overshoots,
        // the last value is clamped to the stop and a larger count does not repeat it.
        {V::dec, 1, 150, no, 60, V::lin, 4, no, {1, 61, 121, 150}, 0},
        {V::dec, 1, 1000, no, 600, V::lin, no, no, {1, 601, 1000}, 0},
        {V::dec, 1, 150, no, no, -1, 4, no, {1, 10, 100, 150}, 0},
        {V::dec, 1, 100, no, no, -1, 3, no, {1, 10, 100}, 0},
        {V::oct, 1, 8, no, no, -1, 4, no, {1, 2, 4, 8}, 0},
        // A logarithmic walk with a stale count runs past its stop while points remain.
        {V::lin, 1, 100, 10, no, V::dec, no, no, {1, 10, 100}, 1},
        {V::lin, 0, 10, 3, no, V::oct, no, no, {}, 1},
        {V::lin, 2, 4, no, no, 7, no, no, {}, 0},
    };
    for (const Row& r : rows) {
        SweepVariation v = Make(r.kind, r.start, r.stop);
        if (!std::isnan(r.points))
            v.SetNumPoints(r.points);
        if (!std::isnan(r.increment))
            v.SetIncrement(r.increment);
        if (!std::isnan(r.count)) {
            EXPECT_EQ(v.GetNumPoints(), r.count) << r.start << ".." << r.stop;
        }
        if (!std::isnan(r.step)) {
            EXPECT_EQ(v.GetIncrement(), r.step) << r.start << ".." << r.stop;
        }
        if (r.then >= 0)
            v.SetVariation(static_cast<V::Variation>(r.then));
        int flag = -1;
        EXPECT_EQ(Walk(v, &flag), r.walk) << r.start << ".." << r.stop;
        EXPECT_EQ(flag, r.outOfRange) << r.start << ".." << r.stop;
        EXPECT_EQ(v.IsOutOfRange(), 0) << "only the iterator's copy carries the flag";
    }
}

TEST(SweepVariation, LogarithmicBoundsStayPositiveAndOrderedLinearOnesAsGiven) {
    SweepVariation v = Make(V::dec, 10, 1000);
    const auto bounds = [&] { return std::pair(v.GetStart(), v.GetStop()); };
    v.SetStop(5); // below the start: the start comes down to it
    EXPECT_EQ(bounds(), std::pair(5.0, 5.0));
    EXPECT_EQ(v.GetNumPoints(), 1.0);
    v.SetStart(50); // above the stop: the stop goes up to it
    EXPECT_EQ(bounds(), std::pair(50.0, 50.0));
    v.SetStop(-2000);
    EXPECT_EQ(bounds(), std::pair(50.0, 2000.0));
    v.SetStart(-1e-20);
    EXPECT_EQ(v.GetStart(), 1e-12);
    EXPECT_EQ(Walk(Make(V::dec, 0, 1e-9)).front(), 1e-12);

    const SweepVariation lin = Make(V::lin, 5, -5);
    EXPECT_EQ(std::pair(lin.GetStart(), lin.GetStop()), std::pair(5.0, -5.0));
}

TEST(SweepVariation, ListWalksVisitAtMost51ItemsInTheirOwnOrderOnTheIteratorsCopy) {
    Values sixty;
    for (int i = 0; i < 60; ++i)
        sixty.push_back(i * 0.5);
    const Values walked = Walk(List(sixty));
    EXPECT_EQ(walked, Values(sixty.begin(), sixty.begin() + 51));

    SweepVariation v = List({5, -3, 7}); // no clamping to start and stop, no ordering
    EXPECT_EQ(Walk(v), (Values{5, -3, 7}));
    EXPECT_TRUE(Walk(List({})).empty());

    SweepVariationIterator it(v);
    v.SetNthListItem(1, 99);
    ++it;
    EXPECT_EQ(*it, -3.0);
    it.reset();
    EXPECT_EQ(*it, 5.0);

    // Reset keeps the kind and the list values, but not their count.
    v.reset();
    EXPECT_EQ(v.toPropertyList().GetList(),
              "Variation:int{3} Start:double{0} Stop:double{0} NumItems:double{0} List:array{}");
    EXPECT_EQ(v.GetNthListItem(2), 7.0);
}

TEST(SweepVariation, OneLineTextAndSummaryNameTheKindAndItsValues) {
    SweepVariation lin = Make(V::lin, 1, 10);
    lin.SetIncrement(1);
    SweepVariation odd = Make(V::lin, 2, 4);
    odd.SetVariation(static_cast<V::Variation>(7));
    const std::pair<SweepVariation, const char*> lines[] = {
        {lin, "lin 1 10 1 "},
        {Make(V::oct, 1e-6, 2.5e6), "oct 1e-06 2.5e+06 0 "},
        {List({1, 0.125, 1e6}), "list 1 0.125 1e+06 "},
        {odd, "dec 2 4 2 "}};
    for (const auto& [v, text] : lines)
        EXPECT_EQ(v.toString(), text);

    // The point labels pair with the raw kind: a linear walk counts "per octave".
    SweepVariation five = Make(V::lin, 0, 2);
    five.SetNumPoints(5);
    const std::pair<SweepVariation, const char*> summaries[] = {
        {Make(V::dec, 1, 150), "Sweep type: Decade\nNumber of points per decade: 4\n"
                               "Starting value for sweep: 1\nStop value for sweep: 150\n"},
        {five, "Sweep type: Linear\nNumber of points per octave: 5\n"
               "Starting value for sweep: 0\nStop value for sweep: 2\n"},
        {Make(V::oct, 1, 8), "Sweep type: Octave\nNumber of points: 4\n"
                             "Starting value for sweep: 1\nStop value for sweep: 8\n"},
        {List({300, 1e-3}), "Sweep type: List\n  300\n  0.001\n"}};
    for (const auto& [v, text] : summaries)
        EXPECT_EQ(Summary(v), text);
}

TEST(SweepVariation, RecordsRoundTripInTheFixedKeyOrder) {
    SweepVariation lin = Make(V::lin, 1, 10);
    lin.SetNumPoints(4);
    EXPECT_EQ(lin.toPropertyList().GetList(),
              "Variation:int{1} Start:double{1} Stop:double{10} NumItems:double{4} List:array{}");
    SweepVariation copy;
    EXPECT_EQ(copy.fromPropertyList(lin.toPropertyList()), 1);
    EXPECT_EQ(Walk(copy), (Values{1, 4, 7, 10})) << "the increment recomputed from the bounds";

    const CPropertyList record = List({2.5, -7}).toPropertyList();
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
    SweepVariation v = List({1});
    EXPECT_EQ(v.fromPropertyList(CPropertyList(
                  "Start:int{5} Stop:string{x} Variation:double{2} Extra:int{1} Stop:double{9}")),
              0);
    EXPECT_EQ(v.toString(), "list 1 ") << "kind and list untouched";
    EXPECT_EQ(std::pair(v.GetStart(), v.GetStop()), std::pair(0.0, 9.0));

    const auto listOf = [](int count) {
        Values values;
        for (int i = 0; i < count; ++i)
            values.push_back(i + 100);
        CPropertyList record;
        record.AddItem(CPropertyItem("List", values.data(), count));
        return record;
    };
    EXPECT_EQ(v.fromPropertyList(listOf(256)), 1);
    EXPECT_EQ(v.toString(), "list 1 ");
    EXPECT_EQ(v.fromPropertyList(listOf(255)), 1);
    EXPECT_EQ(v.GetNumListItems(), 255);
    EXPECT_EQ(v.GetNthListItem(254), 354.0);
}

} // namespace
