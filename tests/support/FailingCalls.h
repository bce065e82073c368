#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

/// Lets single file calls of a thread fail. Linked into a test, it stands in front of the C library for all libraries
/// of ours: open, mkostemp, mkdir, read, write, lseek, ftruncate, fchmod, fsync, close, rename, renameat2.
namespace TestSupport {

/// How often an action makes each call.
std::map<std::string, int> CountCalls(const std::function<void()>& i_action);

/// Runs an action whose call of that name, the i_index-th (from 0) fails with an errno; 0 for a write that takes half.
/// A failing close has closed, as on Linux.
void RunWithFailure(const std::string& i_call, int i_index, int i_errno, const std::function<void()>& i_action);

/// The errors that each call is to be tried with.
const std::map<std::string, std::vector<int>>& GetErrorsOfCalls();

} // namespace TestSupport
