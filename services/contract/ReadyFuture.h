#pragma once

#include <exception>
#include <future>
#include <type_traits>

namespace MachineService {

/// A future that is ready: i_answer's result or what it throws. For questions that are answered from local state.
template <class Answer>
auto Ready(Answer i_answer) -> std::future<std::invoke_result_t<Answer>>
{
    using Result = std::invoke_result_t<Answer>;
    std::promise<Result> promise;
    try {
        if constexpr (std::is_void_v<Result>) {
            i_answer();
            promise.set_value();
        } else {
            promise.set_value(i_answer());
        }
    } catch (...) {
        promise.set_exception(std::current_exception());
    }
    return promise.get_future();
}

/// The future that i_begin returns, or a ready one with what it throws.
template <class Begin>
auto ReadyIfRefused(const Begin& i_begin) -> std::invoke_result_t<const Begin&>
{
    using Result = decltype(i_begin().get());
    try {
        return i_begin();
    } catch (...) {
        std::promise<Result> refused;
        refused.set_exception(std::current_exception());
        return refused.get_future();
    }
}

} // namespace MachineService
