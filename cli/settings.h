// Settings by nickname (an analysis, the post-processing pages or the whole set), from a file.
#pragma once

#include "analyses/core/analysis.h"
#include "analyses/core/postprocess.h"
#include "cli/args.h"
#include "platform/resources.h"

#include <cstddef>
#include <iosfwd>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace cli {

/// What a nickname names: an analysis, the post-processing set ("PostProc"), or the whole
/// set of a circuit's analyses with its run list ("ANALYSES"). Exactly one of the three
/// pointers is set.
struct Settings {
    std::string nickname;
    std::unique_ptr<Analyses::Analysis> analysis;
    std::unique_ptr<PostProcess> postProcess;
    std::unique_ptr<Analyses> set;

    /// The item a settings file holds for these settings.
    CPropertyItem toPropertyItem() const;
    /// Applies a stored item as the model's reader does; 0 when some field was not applied.
    /// A set is read as stored, its run list not renumbered.
    int fromPropertyItem(const CPropertyItem& item);
};

/// The nicknames this build knows: the analyses, then "PostProc" and "ANALYSES".
std::vector<std::string> KnownNicknames();
/// The known nicknames joined by ", ", for messages and help.
std::string KnownNicknamesText();

/// The known nicknames wrapped at 79 columns, each line indented by `indent` blanks;
/// post-processing and the whole set only when `withPostProc` (they describe runs but
/// cannot be run themselves).
std::string NicknameBlock(size_t indent, bool withPostProc);

/// Default settings of `nickname` (exact, case-sensitive); nothing when unknown.
std::optional<Settings> NewSettings(std::string_view nickname);

/// Line and column, both counted from 1, of byte `position` of `text`; the
/// column counts bytes, and a position past the end is placed after the last byte.
std::pair<unsigned, unsigned> LineColumn(std::string_view text, size_t position);

/// A field of a settings file that reading did not keep.
struct UnappliedKey {
    std::string path;         ///< labels joined by '.', e.g. "ANALYSIS.FSTART"
    std::string givenType;    ///< type name in the file ("" for a field without a value)
    std::string expectedType; ///< type name the settings write; empty for an unknown key

    bool IsMistyped() const { return !expectedType.empty(); }
    /// "ANALYSIS.FOO", or "ANALYSIS.FSTART (string, expected double)".
    std::string ToText() const;
};

/// The fields of `given`, at any depth, that `applied` (the settings written
/// back after reading `given`) has under no such label, or only with another
/// value type. Settings that write a key only when it differs from a default can
/// make a key that was read look unknown; a mistyped key is always a real miss.
std::vector<UnappliedKey> UnappliedKeys(const CPropertyItem& given, const CPropertyItem& applied);

/// Finds the item for `nickname` in the text of a settings file: the file's own
/// item labelled `nickname`, or the one labelled so inside an "ANALYSES" item.
/// `source` names the text in messages. On failure writes the message to `err`.
std::optional<CPropertyItem> FindSettingsItem(std::string_view text, const std::string& source,
                                              const std::string& nickname, std::ostream& err);

/// The settings of `nickname`: the defaults, or, when `settingsPath` is given,
/// the defaults with that file applied. Fields the reader does not apply give a
/// warning on `err` and are otherwise ignored. An unknown nickname, an unreadable
/// or unparsable file, or a file for other settings give a message on `err`,
/// `status` = ExitUsage and nothing; otherwise `status` = ExitOk.
std::optional<Settings> LoadSettings(const std::string& nickname, const std::string* settingsPath,
                                     std::ostream& err, int& status);

/// LoadSettings restricted to analyses: "PostProc" and "ANALYSES" are refused like an
/// unknown nickname.
std::unique_ptr<Analyses::Analysis> LoadAnalysis(const std::string& nickname,
                                                 const std::string* settingsPath, std::ostream& err,
                                                 int& status);

/// The first tolerance of a worst-case or Monte Carlo analysis that ValidateTolSpec refuses,
/// as "tolerance N (NAME PARAMETER): MESSAGE" with N counted from 1; "" when every tolerance
/// passes and for other analyses. A simulation must not start with such a tolerance.
std::string RefusedTolerance(const Analyses::Analysis& analysis);

/// Writes "canal: " + `message` + newline to `err`.
void ReportError(std::ostream& err, std::string_view message);
/// Writes "canal: warning: " + `message` + newline to `err`.
void ReportWarning(std::ostream& err, std::string_view message);

/// Reads option `name` of `call` through `parse` (text to an optional T) into `value`, which
/// stays as it is when the option is absent. False, with the message `bad` (a format whose
/// "%s" is the text) on `err`, when the text does not parse.
template <class T, class Parse>
bool ReadOption(const Invocation& call, const char* name, Parse&& parse, ResourceId bad, T& value,
                std::ostream& err) {
    const std::string* text = call.Value(name);
    if (!text)
        return true;
    const std::optional<T> given = parse(*text);
    if (!given) {
        ReportError(err, CString::Formatted(GetResourceText(bad), text->c_str()).view());
        return false;
    }
    value = *given;
    return true;
}

} // namespace cli
