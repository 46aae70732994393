// Settings by nickname (an analysis, the post-processing pages or the whole set), from a file.
#include "cli/settings.h"

#include "analyses/compound/wcmc_analysis.h"
#include "analyses/core/analysis_factory.h"
#include "cli/commands.h"
#include "platform/resources.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ostream>

namespace cli {

namespace {

std::string Quoted(const CString& s) {
    return "\"" + s.str() + "\"";
}

std::string TypeName(const std::string& type) {
    return type.empty() ? GetResourceString(IDS_CLI_NO_TYPE).str() : type;
}

// Walks `given` against every list of `applied` that sits at the same path.
void CollectUnapplied(const CPropertyList& given, const std::vector<const CPropertyList*>& applied,
                      const std::string& prefix, std::vector<UnappliedKey>& out) {
    for (const CPropertyItem& item : given) {
        const std::string path = prefix + item.GetLabel().str();
        std::vector<const CPropertyItem*> sameLabel;
        for (const CPropertyList* list : applied)
            for (const CPropertyItem& candidate : *list)
                if (candidate.GetLabel() == item.GetLabel())
                    sameLabel.push_back(&candidate);
        if (sameLabel.empty()) {
            out.push_back({path, item.GetType().str(), ""});
            continue;
        }
        std::vector<const CPropertyList*> nested;
        bool typeMatches = false;
        for (const CPropertyItem* candidate : sameLabel) {
            if (candidate->GetTypeOfValue() != item.GetTypeOfValue())
                continue;
            typeMatches = true;
            if (candidate->GetTypeOfValue() == CPropertyItem::List)
                nested.push_back(&candidate->GetPropertyList());
        }
        if (!typeMatches)
            out.push_back({path, item.GetType().str(), sameLabel.front()->GetType().str()});
        else if (item.GetTypeOfValue() == CPropertyItem::List)
            CollectUnapplied(item.GetPropertyList(), nested, path + ".", out);
    }
}

std::string JoinTexts(const std::vector<UnappliedKey>& keys) {
    std::string text;
    for (const UnappliedKey& key : keys)
        text += (text.empty() ? "" : ", ") + key.ToText();
    return text;
}

// The whole file, or nothing with `error` set to the system's reason.
std::optional<std::string> ReadFile(const std::string& path, std::string& error) {
    std::FILE* f = std::fopen(path.c_str(), "rb");
    if (!f) {
        error = std::strerror(errno);
        return std::nullopt;
    }
    std::string text;
    char buffer[8192];
    size_t n = 0;
    while ((n = std::fread(buffer, 1, sizeof buffer, f)) > 0)
        text.append(buffer, n);
    // A directory opens but cannot be read; ferror tells it apart from an empty file.
    const bool failed = std::ferror(f) != 0;
    const int code = errno;
    std::fclose(f);
    if (failed) {
        error = std::strerror(code);
        return std::nullopt;
    }
    return text;
}

} // namespace

CPropertyItem Settings::toPropertyItem() const {
    if (analysis)
        return analysis->toPropertyItem();
    if (set)
        return set->toPropertyItem();
    return CPropertyItem(PostProcess::s_GetAnalysisNickname(), postProcess->toPropertyList());
}

int Settings::fromPropertyItem(const CPropertyItem& item) {
    if (analysis)
        return analysis->fromPropertyItem(item);
    if (set)
        return set->fromPropertyItem(item, 0);
    // Same rule as the analyses' reader: a wrong label or value type applies nothing.
    if (item.GetLabel() != PostProcess::s_GetAnalysisNickname() ||
        item.GetTypeOfValue() != CPropertyItem::List) {
        postProcess->reset();
        return 0;
    }
    return postProcess->fromPropertyList(item.GetPropertyList());
}

std::vector<std::string> KnownNicknames() {
    std::vector<std::string> names;
    for (const CString& name : Analyses::AnalysisNicknames())
        if (Analyses::NewAnalysisByNickname(name, nullptr))
            names.push_back(name.str());
    names.push_back(PostProcess::s_GetAnalysisNickname().str());
    names.push_back(Analyses::s_GetPropertyLabel().str());
    return names;
}

namespace {

bool IsSingleAnalysis(std::string_view name) {
    return name != PostProcess::s_GetAnalysisNickname().view() &&
           name != Analyses::s_GetPropertyLabel().view();
}

} // namespace

// The known nicknames as lines of at most 79 columns, each indented by `indent` blanks.
std::string NicknameBlock(size_t indent, bool withPostProc) {
    constexpr size_t width = 79;
    std::string block, line;
    for (const std::string& name : KnownNicknames()) {
        if (!withPostProc && !IsSingleAnalysis(name))
            continue;
        const std::string word = name + ",";
        if (!line.empty() && indent + line.size() + 1 + word.size() > width) {
            block += std::string(indent, ' ') + line + "\n";
            line.clear();
        }
        line += (line.empty() ? "" : " ") + word;
    }
    if (!line.empty()) {
        line.pop_back(); // no comma after the last
        block += std::string(indent, ' ') + line + "\n";
    }
    return block;
}

std::string KnownNicknamesText() {
    std::string text;
    for (const std::string& name : KnownNicknames())
        text += (text.empty() ? "" : ", ") + name;
    return text;
}

std::optional<Settings> NewSettings(std::string_view nickname) {
    Settings settings;
    settings.nickname = std::string(nickname);
    if (nickname == PostProcess::s_GetAnalysisNickname().view()) {
        settings.postProcess = std::make_unique<PostProcess>();
        return settings;
    }
    if (nickname == Analyses::s_GetPropertyLabel().view()) {
        settings.set = std::make_unique<Analyses>(nullptr);
        return settings;
    }
    settings.analysis = Analyses::NewAnalysisByNickname(CString(nickname), nullptr);
    if (!settings.analysis)
        return std::nullopt;
    return settings;
}

std::pair<unsigned, unsigned> LineColumn(std::string_view text, size_t position) {
    position = std::min(position, text.size());
    unsigned line = 1;
    size_t lineStart = 0;
    for (size_t i = 0; i < position; ++i) {
        if (text[i] == '\n') {
            ++line;
            lineStart = i + 1;
        }
    }
    return {line, static_cast<unsigned>(position - lineStart + 1)};
}

std::string UnappliedKey::ToText() const {
    if (!IsMistyped())
        return path;
    return CString::Formatted(GetResourceText(IDS_CLI_WARN_MISTYPED_KEY), path.c_str(),
                              TypeName(givenType).c_str(), TypeName(expectedType).c_str())
        .str();
}

std::vector<UnappliedKey> UnappliedKeys(const CPropertyItem& given, const CPropertyItem& applied) {
    std::vector<UnappliedKey> out;
    if (given.GetTypeOfValue() != applied.GetTypeOfValue())
        out.push_back({given.GetLabel().str(), given.GetType().str(), applied.GetType().str()});
    else if (given.GetTypeOfValue() == CPropertyItem::List)
        CollectUnapplied(given.GetPropertyList(), {&applied.GetPropertyList()}, "", out);
    return out;
}

std::optional<CPropertyItem> FindSettingsItem(std::string_view text, const std::string& source,
                                              const std::string& nickname, std::ostream& err) {
    CPropertyList list;
    const PropertyParseResult parsed = list.Parse(text);
    if (!parsed.ok) {
        const auto [line, column] = LineColumn(text, parsed.position);
        ReportError(err, CString::Formatted(GetResourceText(IDS_CLI_ERR_PARSE), source.c_str(),
                                            line, column, parsed.message.c_str())
                             .view());
        return std::nullopt;
    }
    if (list.IsEmpty()) {
        ReportError(
            err,
            CString::Formatted(GetResourceText(IDS_CLI_ERR_NO_SETTINGS), source.c_str()).view());
        return std::nullopt;
    }
    for (const CPropertyItem& item : list)
        if (item.GetLabel() == nickname.c_str())
            return item;
    for (const CPropertyItem& item : list) {
        if (item.GetLabel() != "ANALYSES" || item.GetTypeOfValue() != CPropertyItem::List)
            continue;
        for (const CPropertyItem& inner : item.GetPropertyList())
            if (inner.GetLabel() == nickname.c_str())
                return inner;
        ReportError(err, CString::Formatted(GetResourceText(IDS_CLI_ERR_NOT_IN_ANALYSES),
                                            source.c_str(), nickname.c_str())
                             .view());
        return std::nullopt;
    }
    std::string labels;
    for (const CPropertyItem& item : list)
        labels += (labels.empty() ? "" : ", ") + Quoted(item.GetLabel());
    ReportError(err, CString::Formatted(GetResourceText(IDS_CLI_ERR_WRONG_LABEL), source.c_str(),
                                        labels.c_str(), nickname.c_str())
                         .view());
    return std::nullopt;
}

std::optional<Settings> LoadSettings(const std::string& nickname, const std::string* settingsPath,
                                     std::ostream& err, int& status) {
    status = ExitUsage;
    std::optional<Settings> settings = NewSettings(nickname);
    if (!settings) {
        ReportError(err, CString::Formatted(GetResourceText(IDS_CLI_ERR_UNKNOWN_NICKNAME),
                                            nickname.c_str(), KnownNicknamesText().c_str())
                             .view());
        return std::nullopt;
    }
    if (settingsPath) {
        std::string reason;
        const std::optional<std::string> text = ReadFile(*settingsPath, reason);
        if (!text) {
            ReportError(err, CString::Formatted(GetResourceText(IDS_CLI_ERR_CANNOT_READ),
                                                settingsPath->c_str(), reason.c_str())
                                 .view());
            return std::nullopt;
        }
        // Editors on some systems start a UTF-8 file with a byte-order mark;
        // it is no part of the settings, and columns count from after it.
        std::string_view body = *text;
        if (body.starts_with("\xEF\xBB\xBF"))
            body.remove_prefix(3);
        const std::optional<CPropertyItem> item =
            FindSettingsItem(body, *settingsPath, nickname, err);
        if (!item)
            return std::nullopt;
        // The readers skip a value of the wrong type without a word, so mistyped
        // keys are worth a warning even when reading reported success.
        const bool applied = settings->fromPropertyItem(*item) != 0;
        std::vector<UnappliedKey> keys = UnappliedKeys(*item, settings->toPropertyItem());
        if (applied)
            std::erase_if(keys, [](const UnappliedKey& key) { return !key.IsMistyped(); });
        if (!keys.empty()) {
            ReportWarning(err, CString::Formatted(GetResourceText(IDS_CLI_WARN_NOT_APPLIED_KEYS),
                                                  settingsPath->c_str(), nickname.c_str(),
                                                  JoinTexts(keys).c_str())
                                   .view());
        } else if (!applied) {
            ReportWarning(err, CString::Formatted(GetResourceText(IDS_CLI_WARN_NOT_APPLIED),
                                                  settingsPath->c_str(), nickname.c_str())
                                   .view());
        }
    }
    status = ExitOk;
    return settings;
}

std::unique_ptr<Analyses::Analysis> LoadAnalysis(const std::string& nickname,
                                                 const std::string* settingsPath, std::ostream& err,
                                                 int& status) {
    if (!IsSingleAnalysis(nickname)) {
        const ResourceId why = nickname == Analyses::s_GetPropertyLabel().view()
                                   ? IDS_CLI_ERR_SET_NOT_AN_ANALYSIS
                                   : IDS_CLI_ERR_NOT_AN_ANALYSIS;
        ReportError(err, CString::Formatted(GetResourceText(why), nickname.c_str()).view());
        status = ExitUsage;
        return nullptr;
    }
    std::optional<Settings> settings = LoadSettings(nickname, settingsPath, err, status);
    if (!settings)
        return nullptr;
    return std::move(settings->analysis);
}

std::string RefusedTolerance(const Analyses::Analysis& analysis) {
    const auto* wcmc = dynamic_cast<const WcMcAnalysis*>(&analysis);
    if (!wcmc)
        return {};
    std::string refused;
    unsigned number = 0;
    wcmc->GetTolSpecList().ForEach([&](const WcMcTolSpec& tolerance) {
        ++number;
        const CString why = ValidateTolSpec(tolerance);
        if (refused.empty() && !why.IsEmpty())
            refused = CString::Formatted(GetResourceText(IDS_CLI_ERR_TOLERANCE), number,
                                         tolerance.GetMemberName().c_str(),
                                         tolerance.GetParameterName().c_str(), why.c_str())
                          .str();
    });
    return refused;
}

void ReportError(std::ostream& err, std::string_view message) {
    err << GetResourceText(IDS_CLI_ERROR_PREFIX) << message << '\n';
}

void ReportWarning(std::ostream& err, std::string_view message) {
    err << GetResourceText(IDS_CLI_WARNING_PREFIX) << message << '\n';
}

} // namespace cli
