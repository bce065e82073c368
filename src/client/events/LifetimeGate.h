#pragma once

#include <memory>

namespace MachineService {

/// Lets the threads of others into an object only while it lives.
///
/// The object holds a gate and closes it before anything of itself goes; whoever calls in holds a copy and enters
/// first: \code [this, gate = _gate] {
///     if (const auto entry = gate.Enter())
///         _Handle();
/// }
/// \endcode
/// A tracked signal slot alone is not enough: tracking keeps a call from starting, but does not wait for one that runs.
///
/// Thread: any; an entry is left on the thread that entered.
/// Ownership: copies share one gate, which goes with the last copy or entry.
class LifetimeGate
{
public:
    class Entry;

    LifetimeGate();

    /// Never waits for long. Converts to false once the gate is closed.
    Entry Enter() const;
    /// Lets nobody in from now on and waits until the entries of other threads have been left; those of the own thread
    /// stay, so that an object may go inside a call that came through its gate. Closing again is harmless.
    void Close();

private:
    struct State;
    std::shared_ptr<State> _state;
};

/// Holds the gate open for as long as it lives.
class LifetimeGate::Entry
{
public:
    Entry(Entry&& io_other) noexcept;
    Entry& operator=(Entry&&) = delete;
    ~Entry();

    explicit operator bool() const { return _state != nullptr; }

private:
    friend class LifetimeGate;
    explicit Entry(std::shared_ptr<State> ip_state);

    void _Link();
    void _Unlink();

    std::shared_ptr<State> _state; // null: not entered
    Entry* _other = nullptr;       // a further entry of this thread, through whatever gate
};

} // namespace MachineService
