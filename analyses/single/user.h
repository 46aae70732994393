// User-defined analysis: a block of simulator commands passed on unchanged.
#pragma once

#include "analyses/core/analysis.h"

class Analyses::User : public Analyses::Analysis {
public:
    explicit User(const Analyses* main = nullptr);
    User(const User&) = default;
    User& operator=(const User&) = default;

    static CString s_GetAnalysisNickname() { return "USER"; }

    CString GetAnalysisNickname() const override { return s_GetAnalysisNickname(); }
    AnalysisType GetType() const override { return AnalysisType::User; }
    void reset() override;
    Analysis* NewInstance() const override { return new User(GetMainAnalyses()); }
    Analysis* Clone() const override { return new User(*this); }
    Analysis* Clone(Instance*&) const override { return new User(*this); }
    int GetNodeType() const override { return AT_NONE; }
    /// The commands choose their own outputs.
    int GetOutputVariableClass() const override { return OVC_ALL; }

    /// Stored byte for byte: line breaks and blanks are the user's.
    void SetUserCommands(const CString& commands) { commands_ = commands; }
    const CString& GetUserCommands() const { return commands_; }

protected:
    /// Settings, command and title only: the commands pick their own outputs.
    long toReadableTextMask() const override { return TT_SETTINGS | TT_COMMAND | TT_TITLE; }
    /// Scope framing and the commands; no plot set-up, options or post-processing.
    long toNutmegCommandMask() const override { return NT_COMMAND | NT_SCOPE; }
    CString toNutmegCommandHelper() const override { return commands_; }
    CPropertyList toPropertyListHelper() const override;
    int fromPropertyListHelper(const CPropertyList& list) override;

private:
    CString commands_;
};
