// User-defined analysis: a block of simulator commands passed on unchanged.
#pragma once

#include "analyses/core/analysis_identity.h"
#include "canal/export.h"

class CANAL_EXPORT Analyses::User
    : public AnalysisIdentity<Analyses::User, Analyses::AnalysisType::User> {
public:
    explicit User(const Analyses* main = nullptr) : AnalysisIdentity(main) { reset(); }

    void reset() override;
    int GetNodeType() const override { return AT_NONE; }
    /// The commands choose their own outputs.
    int GetOutputVariableClass() const override { return OVC_ALL; }

    /// Stored byte for byte: line breaks and blanks are the user's.
    void SetUserCommands(const CString& commands) { commands_ = commands; }
    const CString& GetUserCommands() const { return commands_; }

    /// The stored keys, in their written order.
    static std::span<const PropertyKeys::Key<User>> Keys();

protected:
    /// Settings, command and title only: the commands pick their own outputs.
    long toReadableTextMask() const override { return TT_SETTINGS | TT_COMMAND | TT_TITLE; }
    /// Scope framing and the commands; no plot set-up, options or post-processing.
    long toNutmegCommandMask() const override { return NT_COMMAND | NT_SCOPE; }
    CString toNutmegCommandHelper() const override { return commands_; }

private:
    CString commands_;
};
