// The identity every concrete analysis class answers the same way: kind, nickname, new and copy.
#pragma once

#include "analyses/core/analysis.h"
#include "analyses/kinds.h"

#include <new>
#include <type_traits>

/// Base of a concrete analysis class `Derived` of kind `Kind`, placed between
/// it and `Base` (the analysis base, or an analysis it extends, as distortion
/// extends AC). Gives the type and nickname from the kind table, a new default
/// object and both clones, and binds the node set of every copy to the copy,
/// so that the classes above it can copy by default. A class whose kind
/// follows its state overrides GetType and GetAnalysisNickname again.
template <class Derived, Analyses::AnalysisType Kind, class Base = Analyses::Analysis>
class AnalysisIdentity : public Base {
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

private:
    const Derived& self() const { return static_cast<const Derived&>(*this); }
};

/// `a` as class `C` when it answers C's kind, else null: kinds, not the class
/// tree, decide, so a noise analysis is no AC analysis here.
template <class C, class A> auto* KindCast(A* a) {
    using Result = std::conditional_t<std::is_const_v<A>, const C, C>;
    return a && a->GetType() == C::s_kind ? static_cast<Result*>(a) : nullptr;
}
