// Output variables of worst-case / Monte Carlo runs: reading the text and finding the vectors.
#include "analyses/compound/wcmc_output.h"

namespace {

bool StartsWithNoCase(const CString& text, const char* prefix) {
    const CString head = text.Left(static_cast<int>(std::char_traits<char>::length(prefix)));
    return head.CompareNoCase(prefix) == 0;
}

bool EndsWithNoCase(const CString& text, const char* suffix) {
    const int n = static_cast<int>(std::char_traits<char>::length(suffix));
    return text.GetLength() >= n && text.Right(n).CompareNoCase(suffix) == 0;
}

CString Trimmed(CString s) {
    return s.Trim();
}

bool IsGround(const CString& node) {
    return node.IsEmpty() || node == "0" || node == "$0" || node.CompareNoCase("gnd") == 0;
}

// A node's voltage vector: "v(node)" as hosts report it, or the bare node name.
int FindNode(const CSpicePlotInfo& plot, const CString& node) {
    const int index = plot.FindVector("v(" + node + ")");
    return index >= 0 ? index : plot.FindVector(node);
}

CComplex ElementOf(const CSpiceDataRow& row, int index) {
    const auto i = static_cast<size_t>(index);
    return {row.real[i], i < row.imag.size() ? row.imag[i] : 0.0};
}

} // namespace

WcMcOutput::WcMcOutput(const CString& text) : text_(Trimmed(text)) {
    CString body = text_;
    if (StartsWithNoCase(body, "i(") && EndsWithNoCase(body, ")")) {
        current_ = true;
        plus_ = Trimmed(body.Mid(2, body.GetLength() - 3));
        return;
    }
    if (EndsWithNoCase(body, "#branch")) {
        current_ = true;
        plus_ = Trimmed(body.Left(body.GetLength() - 7));
        return;
    }
    if (StartsWithNoCase(body, "v(") && EndsWithNoCase(body, ")"))
        body = body.Mid(2, body.GetLength() - 3);
    const int comma = body.Find(',');
    plus_ = Trimmed(comma < 0 ? body : body.Left(comma));
    minus_ = comma < 0 ? CString() : Trimmed(body.Mid(comma + 1));
    if (IsGround(minus_))
        minus_.Empty();
}

bool WcMcOutput::Bind(const CSpicePlotInfo& plot) {
    first_ = second_ = -1;
    if (text_.IsEmpty())
        return false;
    first_ = plot.FindVector(text_);
    if (first_ < 0 && current_) {
        first_ = plot.FindVector("i(" + plus_ + ")");
        if (first_ < 0)
            first_ = plot.FindVector(plus_ + "#branch");
    } else if (first_ < 0) {
        first_ = plot.FindVector("v(" + plus_ + "," + minus_ + ")");
        if (first_ < 0 && !minus_.IsEmpty()) {
            first_ = FindNode(plot, plus_);
            second_ = FindNode(plot, minus_);
            if (second_ < 0)
                first_ = -1;
        } else if (first_ < 0) {
            first_ = FindNode(plot, plus_);
        }
    }
    if (first_ < 0) {
        second_ = -1;
        return false;
    }
    const auto isComplex = [&](int i) {
        return i >= 0 && static_cast<size_t>(i) < plot.vectorIsComplex.size() &&
               plot.vectorIsComplex[static_cast<size_t>(i)];
    };
    complex_ = isComplex(first_) || isComplex(second_);
    return true;
}

bool WcMcOutput::Value(const CSpiceDataRow& row, CComplex& value, bool& isComplex) const {
    const auto has = [&](int i) { return i >= 0 && static_cast<size_t>(i) < row.real.size(); };
    if (!has(first_) || (second_ >= 0 && !has(second_)))
        return false;
    value = ElementOf(row, first_);
    if (second_ >= 0)
        value -= ElementOf(row, second_);
    isComplex = complex_;
    return true;
}
