// What every concrete analysis class does the same way: its identity (kind, nickname, new
// object, copies), its stored keys, and forwarding to a settings object it holds.
#pragma once

#include "analyses/core/analysis.h"
#include "analyses/kinds.h"
#include "canal/export.h"

#include <new>
#include <type_traits>

/// Base of a concrete analysis class `Derived` of kind `Kind`, placed between
/// it and `Base` (the analysis base, or an analysis it extends, as distortion
/// extends AC). Gives the type and nickname from the kind table, a new default
/// object and both clones, and binds the node set of every copy to the copy,
/// so that the classes above it copy by default. A class whose kind follows
/// its state overrides GetType and GetAnalysisNickname again.
///
/// A class with keys of its own declares `static std::span<const
/// PropertyKeys::Key<Derived>> Keys()` (private, with `friend AnalysisIdentity;`):
/// its record is then written and read through that table.
template <class Derived, Analyses::AnalysisType Kind, class Base = Analyses::Analysis>
class CANAL_EXPORT AnalysisIdentity : public Base {
public:
    using Base::Base;
    AnalysisIdentity(const AnalysisIdentity& other) : Base(other) {
        this->GetAnalysisNodes().SetRefAnalysis(this);
    }
    AnalysisIdentity& operator=(const AnalysisIdentity&) = default;

    static constexpr Analyses::AnalysisType s_kind = Kind;
    static CString s_GetAnalysisNickname() { return AnalysisNickname(Kind); }

    CString GetAnalysisNickname() const override { return s_GetAnalysisNickname(); }
    Analyses::AnalysisType GetType() const override { return Kind; }
    /// A default object on the same collection; null when memory runs out.
    Analyses::Analysis* NewInstance() const override {
        return new (std::nothrow) Derived(this->GetMainAnalyses());
    }
    Analyses::Analysis* Clone() const override { return new (std::nothrow) Derived(self()); }
    /// The instance is not used: the copy is the same as Clone().
    Analyses::Analysis* Clone(Instance*&) const override { return Clone(); }

protected:
    CPropertyList toPropertyListHelper() const override {
        if constexpr (requires { Derived::Keys(); })
            return PropertyKeys::Write(self(), Derived::Keys());
        else
            return Base::toPropertyListHelper();
    }
    int fromPropertyListHelper(const CPropertyList& list) override {
        if constexpr (requires { Derived::Keys(); })
            return PropertyKeys::Read(static_cast<Derived&>(*this), list, Derived::Keys());
        else
            return Base::fromPropertyListHelper(list);
    }

private:
    const Derived& self() const { return static_cast<const Derived&>(*this); }
};

/// An analysis that holds one settings object (AcAnalysis, TranAnalysis, ...)
/// right after the common fields and answers from it: kind, node classes,
/// reset, command, record and readable text all go to the settings.
template <class Derived, Analyses::AnalysisType Kind, class Settings>
class CANAL_EXPORT SettingsAnalysis : public AnalysisIdentity<Derived, Kind> {
public:
    /// `main` (borrowed, may be null) goes to the base and to the settings.
    explicit SettingsAnalysis(const Analyses* main = nullptr)
        : AnalysisIdentity<Derived, Kind>(main), settings_(main) {
        SettingsAnalysis::reset();
    }

    // The settings may answer for another kind than the class's own.
    CString GetAnalysisNickname() const override { return settings_.GetAnalysisNickname(); }
    Analyses::AnalysisType GetType() const override { return settings_.GetType(); }
    /// The common fields first, then the settings.
    void reset() override {
        Analyses::Analysis::reset();
        settings_.reset();
    }
    int GetNodeType() const override { return settings_.GetNodeType(); }
    int GetOutputVariableClass() const override { return settings_.GetOutputVariableClass(); }

    Settings& GetSettings() { return settings_; }
    const Settings& GetSettings() const { return settings_; }

protected:
    CString toNutmegCommandHelper() const override { return settings_.toNutmegCommand(); }
    CPropertyList toPropertyListHelper() const override { return settings_.toPropertyList(); }
    int fromPropertyListHelper(const CPropertyList& list) override {
        return settings_.fromPropertyList(list);
    }
    void toReadableTextHelper(CTreeLog& log, _TREEITEM* parent) const override {
        settings_.toReadableText(log, parent);
    }

private:
    Settings settings_;
};

/// The settings of `main`'s analysis of `type` when that analysis is an `Owner`
/// (a SettingsAnalysis or a class derived from one); null without a collection
/// or when it holds no such analysis.
template <class Owner>
auto MainSettings(const Analyses* main, Analyses::AnalysisType type)
    -> decltype(&std::declval<const Owner&>().GetSettings()) {
    const auto* owner = main ? dynamic_cast<const Owner*>(main->GetAnalysis(type)) : nullptr;
    return owner ? &owner->GetSettings() : nullptr;
}

/// Copies the main analysis's settings into `settings` through their record,
/// not by assignment, so that the collection pointer and the kind of the copy
/// stay its own. 0 when there is no main analysis.
template <class Settings> int LoadSettingsFromMain(Settings& settings) {
    const Settings* main = settings.GetMainAnalysis();
    if (!main)
        return 0;
    settings.fromPropertyList(main->toPropertyList());
    return 1;
}

/// `a` as class `C` when it answers C's kind, else null: kinds, not the class
/// tree, decide, so a noise analysis is no AC analysis here.
template <class C, class A> auto* KindCast(A* a) {
    using Result = std::conditional_t<std::is_const_v<A>, const C, C>;
    return a && a->GetType() == C::s_kind ? static_cast<Result*>(a) : nullptr;
}
