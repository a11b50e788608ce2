// Erv::function: a small owning, type-erased callable.
//
// Unlike std::function, copies share one stored callable (they hold a shared_ptr to it), so
// copying a function is cheap and never copies the callable's captures. Calling an empty function
// is a programming error: the ERV_ASSERT2 below ends the process.
//
//   Erv::BoolReader isStillRelevant = [&] { return !cancelled.load(); };
//   if (!isStillRelevant()) { ... }
//
// Thread safety: copies may be used from different threads as far as the stored callable allows;
// the function object itself is never modified by a call.
#pragma once

#include "ErvLogging/Assert.h"

#include <cstddef>
#include <memory>
#include <type_traits>
#include <utility>

namespace Erv {

template <class Signature>
class function;

template <class R, class... Args>
class function<R(Args...)> {
    class BasicStorage {
    public:
        virtual ~BasicStorage() = default;
        virtual R Call(Args... args) = 0;
    };

    template <class F>
    class Storage final : public BasicStorage {
    public:
        explicit Storage(F callable) : m_callable(std::move(callable)) {}
        R Call(Args... args) override { return m_callable(std::forward<Args>(args)...); }

    private:
        F m_callable;
    };

    template <class F>
    using EnableIfCallable =
        std::enable_if_t<!std::is_same_v<std::decay_t<F>, function> &&
                         std::is_convertible_v<std::invoke_result_t<std::decay_t<F>&, Args...>, R>>;

public:
    // An empty function; calling it ends the process.
    function() = default;

    template <class F, class = EnableIfCallable<F>>
    function(F&& callable) // NOLINT(google-explicit-constructor): made from lambdas like std::function
        : m_storage(std::make_shared<Storage<std::decay_t<F>>>(std::forward<F>(callable)))
    {
    }

    explicit operator bool() const { return static_cast<bool>(m_storage); }

    R operator()(Args... args) const;

private:
    std::shared_ptr<BasicStorage> m_storage;
};

// The relevance predicate of device-stack requests.
using BoolReader = function<bool()>;

template <class R, class... Args>
bool operator==(const function<R(Args...)>& f, std::nullptr_t)
{
    return !f;
}

template <class R, class... Args>
bool operator!=(const function<R(Args...)>& f, std::nullptr_t)
{
    return static_cast<bool>(f);
}

// The assertion record names "Include/Erv/Function:87", whatever path a host includes this header
// from: hosts search their logs for it.
template <class R, class... Args>
R function<R(Args...)>::operator()(Args... args) const
{
    ERV_ASSERT2_AT("Include/Erv/Function", "87", m_storage);
    return m_storage->Call(std::forward<Args>(args)...);
}

} // namespace Erv
