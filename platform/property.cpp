// Property items and lists: typed values, their text form, and a parser that
// stops cleanly at the first fault.
#include "platform/property.h"

#include "platform/resources.h"

#include <charconv>
#include <cmath>
#include <limits>
#include <string>
#include <system_error>

struct CPropertyItem::Impl {
    CString label;
    Type type = Empty;
    long i = 0; ///< int value; bool as 0/1
    double d = 0;
    CString s;
    std::vector<double> values;
    CPropertyList list;
};

namespace {

/// Lists nested deeper than this are refused, so that a hostile text cannot
/// exhaust the stack of the recursive reader.
constexpr unsigned kMaxDepth = 200;

/// Diagnostics quote at most this much of a bad value.
constexpr size_t kQuoteLimit = 40;

const char* const kTypeNames[] = {"",       "flag",   "int",  "bool", "",
                                  "double", "string", "list", "array"};

bool IsSpace(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\v' || c == '\f';
}

std::string_view TrimView(std::string_view v) {
    while (!v.empty() && IsSpace(v.front()))
        v.remove_prefix(1);
    while (!v.empty() && IsSpace(v.back()))
        v.remove_suffix(1);
    return v;
}

CPropertyItem::Type TypeFromName(std::string_view name) {
    for (int t = CPropertyItem::Flag; t <= CPropertyItem::Array; ++t)
        if (*kTypeNames[t] && name == kTypeNames[t])
            return static_cast<CPropertyItem::Type>(t);
    return CPropertyItem::Empty;
}

// Numbers are read with std::from_chars, which never consults the locale. It
// refuses a leading '+', which hand-written files may carry, so that is
// stripped first (but not "+-1").
std::string_view StripPlus(std::string_view v) {
    if (v.size() > 1 && v[0] == '+' && v[1] != '-' && v[1] != '+')
        v.remove_prefix(1);
    return v;
}

bool ReadLong(std::string_view text, long& out) {
    const std::string_view v = StripPlus(TrimView(text));
    if (v.empty())
        return false;
    const auto [end, ec] = std::from_chars(v.data(), v.data() + v.size(), out);
    return ec == std::errc() && end == v.data() + v.size();
}

bool ReadDouble(std::string_view text, double& out) {
    const std::string_view v = StripPlus(TrimView(text));
    if (v.empty())
        return false;
    const auto [end, ec] = std::from_chars(v.data(), v.data() + v.size(), out);
    return ec == std::errc() && end == v.data() + v.size();
}

bool ReadBool(std::string_view text, long& out) {
    const std::string_view v = TrimView(text);
    if (v == "true" || v == "1") {
        out = 1;
        return true;
    }
    if (v == "false" || v == "0") {
        out = 0;
        return true;
    }
    return false;
}

bool ReadArray(std::string_view text, std::vector<double>& out) {
    out.clear();
    size_t p = 0;
    while (true) {
        while (p < text.size() && IsSpace(text[p]))
            ++p;
        if (p == text.size())
            return true;
        const size_t start = p;
        while (p < text.size() && !IsSpace(text[p]))
            ++p;
        double v = 0;
        if (!ReadDouble(text.substr(start, p - start), v))
            return false;
        out.push_back(v);
    }
}

void AppendDouble(std::string& out, double v) {
    // Shortest text that reads back to the same bits: "1e+10", "0.001", "300.15".
    char buf[64];
    const auto [end, ec] = std::to_chars(buf, buf + sizeof buf, v);
    if (ec == std::errc())
        out.append(buf, end);
}

void AppendEscaped(std::string& out, std::string_view s) {
    for (char c : s) {
        if (c == '\\' || c == '{' || c == '}')
            out += '\\';
        out += c;
    }
}

void AppendValue(std::string& out, const CPropertyItem::Type type, long i, double d,
                 const CString& s, const std::vector<double>& values, bool escape) {
    switch (type) {
    case CPropertyItem::Int:
        out += std::to_string(i);
        break;
    case CPropertyItem::Bool:
        out += i ? "true" : "false";
        break;
    case CPropertyItem::Double:
        AppendDouble(out, d);
        break;
    case CPropertyItem::String:
        if (escape)
            AppendEscaped(out, s.view());
        else
            out += s.str();
        break;
    case CPropertyItem::Array:
        for (size_t k = 0; k < values.size(); ++k) {
            if (k)
                out += ' ';
            AppendDouble(out, values[k]);
        }
        break;
    default:
        break;
    }
}

long RoundToLong(double v) {
    if (std::isnan(v))
        return 0;
    if (v >= static_cast<double>(std::numeric_limits<long>::max()))
        return std::numeric_limits<long>::max();
    if (v <= static_cast<double>(std::numeric_limits<long>::min()))
        return std::numeric_limits<long>::min();
    return std::lround(v);
}

CString Quote(std::string_view v) {
    if (v.size() <= kQuoteLimit)
        return CString(v);
    return CString(v.substr(0, kQuoteLimit)) + "...";
}

/// Recursive-descent reader of the text form. Each item is either read whole
/// or not at all; the first fault stops everything and is kept in `fault`.
class Reader {
public:
    explicit Reader(std::string_view text) : text_(text) {}

    enum class Stop { End, Close, Fault };

    /// Reads items up to the end of the text or an unconsumed '}'.
    Stop ReadItems(std::vector<CPropertyItem>& out, unsigned depth) {
        while (true) {
            SkipSpace();
            if (pos_ == text_.size())
                return Stop::End;
            if (text_[pos_] == '}')
                return Stop::Close;
            CPropertyItem item;
            if (!ReadItem(item, depth))
                return Stop::Fault;
            out.push_back(std::move(item));
        }
    }

    void StrayClose() { Fail(pos_, CString(GetResourceText(IDS_PROPERTY_ERR_STRAY_BRACE))); }

    PropertyParseResult fault;

private:
    void SkipSpace() {
        while (pos_ < text_.size() && IsSpace(text_[pos_]))
            ++pos_;
    }

    bool Fail(size_t at, CString message) {
        fault.ok = false;
        fault.position = at;
        fault.message = std::move(message);
        return false;
    }

    bool ReadItem(CPropertyItem& item, unsigned depth) {
        const size_t labelStart = pos_;
        while (pos_ < text_.size()) {
            const char c = text_[pos_];
            if (c == ':' || c == '{' || c == '}' || IsSpace(c))
                break;
            ++pos_;
        }
        const CString label(text_.substr(labelStart, pos_ - labelStart));
        if (pos_ == text_.size() || text_[pos_] != ':')
            return Fail(pos_, CString::Formatted(GetResourceText(IDS_PROPERTY_ERR_MISSING_COLON),
                                                 Quote(label.view()).c_str()));
        ++pos_;

        const size_t typeStart = pos_;
        while (pos_ < text_.size()) {
            const char c = text_[pos_];
            if (c == '{' || c == '}' || c == ':' || IsSpace(c))
                break;
            ++pos_;
        }
        const std::string_view typeName = text_.substr(typeStart, pos_ - typeStart);
        if (pos_ == text_.size() || text_[pos_] != '{')
            return Fail(pos_, CString::Formatted(GetResourceText(IDS_PROPERTY_ERR_MISSING_BRACE),
                                                 Quote(typeName).c_str(), label.c_str()));
        const CPropertyItem::Type type = TypeFromName(typeName);
        if (type == CPropertyItem::Empty)
            return Fail(typeStart,
                        CString::Formatted(GetResourceText(IDS_PROPERTY_ERR_UNKNOWN_TYPE),
                                           Quote(typeName).c_str(), label.c_str()));
        const size_t open = pos_++;

        if (type == CPropertyItem::List) {
            if (depth + 1 > kMaxDepth)
                return Fail(open, CString::Formatted(GetResourceText(IDS_PROPERTY_ERR_TOO_DEEP),
                                                     kMaxDepth, label.c_str()));
            std::vector<CPropertyItem> nested;
            switch (ReadItems(nested, depth + 1)) {
            case Stop::Fault:
                return false;
            case Stop::End:
                return Unterminated(open, label);
            case Stop::Close:
                ++pos_;
                break;
            }
            CPropertyList list;
            for (const CPropertyItem& inner : nested)
                list.AddItem(inner);
            item = CPropertyItem(label, list);
            return true;
        }

        // Scalar values run to the matching '}'. A backslash takes the next
        // character literally; unescaped braces must balance, so hand-written
        // strings such as "{x}" read as they look.
        std::string value;
        unsigned level = 0;
        while (true) {
            if (pos_ == text_.size())
                return Unterminated(open, label);
            const char c = text_[pos_++];
            if (c == '\\') {
                if (pos_ == text_.size())
                    return Unterminated(open, label);
                value += text_[pos_++];
                continue;
            }
            if (c == '}') {
                if (level == 0)
                    break;
                --level;
            } else if (c == '{') {
                ++level;
            }
            value += c;
        }

        switch (type) {
        case CPropertyItem::Flag:
            if (!TrimView(value).empty())
                return BadValue(open + 1, type, value, label);
            item = CPropertyItem(label, CPropertyItem::PI_FLAG);
            return true;
        case CPropertyItem::Int: {
            long v = 0;
            if (!ReadLong(value, v))
                return BadValue(open + 1, type, value, label);
            item = CPropertyItem(label, v);
            return true;
        }
        case CPropertyItem::Bool: {
            long v = 0;
            if (!ReadBool(value, v))
                return BadValue(open + 1, type, value, label);
            item = CPropertyItem(label, v != 0);
            return true;
        }
        case CPropertyItem::Double: {
            double v = 0;
            if (!ReadDouble(value, v))
                return BadValue(open + 1, type, value, label);
            item = CPropertyItem(label, v);
            return true;
        }
        case CPropertyItem::Array: {
            std::vector<double> values;
            if (!ReadArray(value, values))
                return BadValue(open + 1, type, value, label);
            item = CPropertyItem(label, values.data(), static_cast<int>(values.size()));
            return true;
        }
        default:
            item = CPropertyItem(label, CString(std::move(value)));
            return true;
        }
    }

    bool Unterminated(size_t open, const CString& label) {
        return Fail(open, CString::Formatted(GetResourceText(IDS_PROPERTY_ERR_UNTERMINATED),
                                             label.c_str()));
    }

    bool BadValue(size_t at, CPropertyItem::Type type, std::string_view value,
                  const CString& label) {
        return Fail(at, CString::Formatted(GetResourceText(IDS_PROPERTY_ERR_BAD_VALUE),
                                           kTypeNames[type], Quote(value).c_str(), label.c_str()));
    }

    std::string_view text_;
    size_t pos_ = 0;
};

const CString& EmptyString() {
    static const CString empty;
    return empty;
}

const CPropertyList& EmptyList() {
    static const CPropertyList empty;
    return empty;
}

} // namespace

// ---- CPropertyItem

CPropertyItem::CPropertyItem() = default;
CPropertyItem::CPropertyItem(const CPropertyItem&) = default;
CPropertyItem::CPropertyItem(CPropertyItem&&) noexcept = default;
CPropertyItem& CPropertyItem::operator=(const CPropertyItem&) = default;
CPropertyItem& CPropertyItem::operator=(CPropertyItem&&) noexcept = default;
CPropertyItem::~CPropertyItem() = default;

CPropertyItem::CPropertyItem(const CString& label, long value) {
    auto impl = std::make_shared<Impl>();
    impl->label = label;
    impl->type = Int;
    impl->i = value;
    impl_ = std::move(impl);
}

CPropertyItem::CPropertyItem(const CString& label, double value) {
    auto impl = std::make_shared<Impl>();
    impl->label = label;
    impl->type = Double;
    impl->d = value;
    impl_ = std::move(impl);
}

CPropertyItem::CPropertyItem(const CString& label, const CString& value) {
    auto impl = std::make_shared<Impl>();
    impl->label = label;
    impl->type = String;
    impl->s = value;
    impl_ = std::move(impl);
}

CPropertyItem::CPropertyItem(const CString& label, const CString& typeText,
                             const CString& valueText) {
    const Type type = TypeFromName(typeText.view());
    const std::string_view v = valueText.view();
    switch (type) {
    case Flag:
        if (TrimView(v).empty())
            *this = CPropertyItem(label, PI_FLAG);
        break;
    case Int: {
        long n = 0;
        if (ReadLong(v, n))
            *this = CPropertyItem(label, n);
        break;
    }
    case Bool: {
        long b = 0;
        if (ReadBool(v, b))
            *this = CPropertyItem(label, b != 0);
        break;
    }
    case Double: {
        double d = 0;
        if (ReadDouble(v, d))
            *this = CPropertyItem(label, d);
        break;
    }
    case String:
        *this = CPropertyItem(label, valueText);
        break;
    case List: {
        CPropertyList list;
        if (list.Parse(v).ok)
            *this = CPropertyItem(label, list);
        break;
    }
    case Array: {
        std::vector<double> values;
        if (ReadArray(v, values))
            *this = CPropertyItem(label, values.data(), static_cast<int>(values.size()));
        break;
    }
    default:
        break;
    }
}

CPropertyItem::CPropertyItem(const CString& label, const CPropertyList& list) {
    auto impl = std::make_shared<Impl>();
    impl->label = label;
    impl->type = List;
    impl->list = list;
    impl_ = std::move(impl);
}

CPropertyItem::CPropertyItem(const CString& label, const double* values, int count) {
    auto impl = std::make_shared<Impl>();
    impl->label = label;
    impl->type = Array;
    if (values && count > 0)
        impl->values.assign(values, values + count);
    impl_ = std::move(impl);
}

CPropertyItem::CPropertyItem(const CString& label, PI_FLAG_T) {
    auto impl = std::make_shared<Impl>();
    impl->label = label;
    impl->type = Flag;
    impl_ = std::move(impl);
}

CPropertyItem::CPropertyItem(const CString& label, bool value) {
    auto impl = std::make_shared<Impl>();
    impl->label = label;
    impl->type = Bool;
    impl->i = value ? 1 : 0;
    impl_ = std::move(impl);
}

const CString& CPropertyItem::GetLabel() const {
    return impl_ ? impl_->label : EmptyString();
}

CString CPropertyItem::GetType() const {
    return CString(kTypeNames[GetTypeOfValue()]);
}

CString CPropertyItem::GetValue() const {
    if (!impl_)
        return CString();
    if (impl_->type == List)
        return impl_->list.GetList();
    std::string out;
    AppendValue(out, impl_->type, impl_->i, impl_->d, impl_->s, impl_->values, false);
    return CString(std::move(out));
}

CPropertyItem::Type CPropertyItem::GetTypeOfValue() const {
    return impl_ ? impl_->type : Empty;
}

long CPropertyItem::GetInt() const {
    switch (GetTypeOfValue()) {
    case Int:
    case Bool:
        return impl_->i;
    case Flag:
        return 1;
    case Double:
        return RoundToLong(impl_->d);
    case String: {
        long n = 0;
        if (ReadLong(impl_->s.view(), n))
            return n;
        double d = 0;
        return ReadDouble(impl_->s.view(), d) ? RoundToLong(d) : 0;
    }
    default:
        return 0;
    }
}

double CPropertyItem::GetDouble() const {
    switch (GetTypeOfValue()) {
    case Int:
    case Bool:
        return static_cast<double>(impl_->i);
    case Flag:
        return 1;
    case Double:
        return impl_->d;
    case String: {
        double d = 0;
        return ReadDouble(impl_->s.view(), d) ? d : 0;
    }
    default:
        return 0;
    }
}

CString CPropertyItem::GetString() const {
    switch (GetTypeOfValue()) {
    case String:
        return impl_->s;
    case Int:
    case Bool:
    case Double:
    case Array:
        return GetValue();
    default:
        return CString();
    }
}

CPropertyItem::PI_BOOL CPropertyItem::GetBool() const {
    switch (GetTypeOfValue()) {
    case Int:
    case Bool:
        return impl_->i ? PI_TRUE : PI_FALSE;
    case Flag:
        return PI_TRUE;
    case Double:
        return impl_->d != 0 ? PI_TRUE : PI_FALSE;
    case String: {
        long b = 0;
        if (ReadBool(impl_->s.view(), b))
            return b ? PI_TRUE : PI_FALSE;
        double d = 0;
        return ReadDouble(impl_->s.view(), d) && d != 0 ? PI_TRUE : PI_FALSE;
    }
    default:
        return PI_FALSE;
    }
}

const CPropertyList& CPropertyItem::GetPropertyList() const {
    return GetTypeOfValue() == List ? impl_->list : EmptyList();
}

void CPropertyItem::AppendField(std::string& out) const {
    if (IsEmpty())
        return;
    out += impl_->label.str();
    out += ':';
    out += kTypeNames[impl_->type];
    out += '{';
    if (impl_->type == List) {
        bool first = true;
        for (const CPropertyItem& item : impl_->list) {
            if (item.IsEmpty())
                continue;
            if (!first)
                out += ' ';
            first = false;
            item.AppendField(out);
        }
    } else {
        AppendValue(out, impl_->type, impl_->i, impl_->d, impl_->s, impl_->values, true);
    }
    out += '}';
}

CString CPropertyItem::GetField() const {
    std::string out;
    AppendField(out);
    return CString(std::move(out));
}

bool CPropertyItem::IsEmpty() const {
    return GetTypeOfValue() == Empty;
}

int CPropertyItem::GetArrayCount() const {
    return GetTypeOfValue() == Array ? static_cast<int>(impl_->values.size()) : 0;
}

void CPropertyItem::WriteToArray(double* out) const {
    if (!out || GetTypeOfValue() != Array)
        return;
    std::copy(impl_->values.begin(), impl_->values.end(), out);
}

// ---- CPropertyList

CPropertyList::CPropertyList() = default;
CPropertyList::CPropertyList(const CPropertyList&) = default;
CPropertyList::CPropertyList(CPropertyList&&) noexcept = default;
CPropertyList& CPropertyList::operator=(const CPropertyList&) = default;
CPropertyList& CPropertyList::operator=(CPropertyList&&) noexcept = default;
CPropertyList::~CPropertyList() = default;

CPropertyList::CPropertyList(const CString& text) {
    Parse(text.view());
}

PropertyParseResult CPropertyList::Parse(std::string_view text) {
    Reader reader(text);
    // Items go straight into this list, so everything read before a fault stays.
    if (reader.ReadItems(items_, 0) == Reader::Stop::Close)
        reader.StrayClose();
    return reader.fault;
}

void CPropertyList::AddItem(const CPropertyItem& item) {
    // An empty item has no text form; keeping it would make the count change
    // across a write and read.
    if (!item.IsEmpty())
        items_.push_back(item);
}

void CPropertyList::AppendItems(const CPropertyList& other) {
    if (&other == this) {
        const std::vector<CPropertyItem> copy = items_;
        items_.insert(items_.end(), copy.begin(), copy.end());
        return;
    }
    items_.insert(items_.end(), other.items_.begin(), other.items_.end());
}

int CPropertyList::GetCount() const {
    return static_cast<int>(items_.size());
}

int CPropertyList::GetNth(int n, CPropertyItem& out) const {
    if (n < 0 || static_cast<size_t>(n) >= items_.size())
        return 0;
    out = items_[static_cast<size_t>(n)];
    return 1;
}

void CPropertyList::ExtractField(CPropertyItem& first, CPropertyList& rest) const {
    if (items_.empty()) {
        first = CPropertyItem();
        rest.items_.clear();
        return;
    }
    first = items_.front();
    // `rest` is often this very list ("list.ExtractField(item, list)").
    if (&rest == this)
        rest.items_.erase(rest.items_.begin());
    else
        rest.items_.assign(items_.begin() + 1, items_.end());
}

bool CPropertyList::IsEmpty() const {
    return items_.empty();
}

void CPropertyList::RemoveAll() {
    items_.clear();
}

CString CPropertyList::GetList() const {
    std::string out;
    for (const CPropertyItem& item : items_) {
        if (item.IsEmpty())
            continue;
        if (!out.empty())
            out += ' ';
        item.AppendField(out);
    }
    return CString(std::move(out));
}

CPropertyList::const_iterator CPropertyList::begin() const {
    return items_.begin();
}

CPropertyList::const_iterator CPropertyList::end() const {
    return items_.end();
}
