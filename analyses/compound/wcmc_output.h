// The output variable of a worst-case / Monte Carlo run: what it names and where a plot holds it.
#pragma once

#include "platform/complex.h"
#include "platform/cstring.h"
#include "platform/spice.h"

/// An output variable as users write it: "out" or "v(out)" (a node voltage),
/// "a,b" or "v(a,b)" (the voltage of a against b), "i(vin)" or "vin#branch"
/// (the current through a source). Plots name their vectors "v(out)" and
/// "i(vin)" style; names are compared ignoring case.
class WcMcOutput {
public:
    explicit WcMcOutput(const CString& text = CString());

    bool IsEmpty() const { return text_.IsEmpty(); }
    bool IsCurrent() const { return current_; }
    /// The node (voltage) and its reference node; the reference is "" for ground.
    const CString& GetNode() const { return plus_; }
    const CString& GetRefNode() const { return minus_; }
    /// The source whose current is the output.
    const CString& GetSource() const { return plus_; }

    /// Finds the vectors of `plot` that make the output: the whole text as a
    /// vector name first, then "v(a,b)", then "v(a)" and "v(b)" (or bare "a"
    /// and "b") to subtract, or "i(src)" / "src#branch". False when the plot
    /// lacks them; the output then has no value in that plot.
    bool Bind(const CSpicePlotInfo& plot);
    bool IsBound() const { return first_ >= 0; }
    /// The output's value in `row` of the bound plot; `isComplex` tells
    /// whether any vector involved is complex. False when unbound or the row is short.
    bool Value(const CSpiceDataRow& row, CComplex& value, bool& isComplex) const;

private:
    CString text_;
    bool current_ = false;
    CString plus_;
    CString minus_;
    int first_ = -1;
    int second_ = -1; ///< the reference node's vector, subtracted; -1 for none
    bool complex_ = false;
};
