#pragma once

#include "hosting/HostingError.h"

namespace Hosting {

/// What a Machine Manager did not do, as one sentence for people.
class JobsError : public HostingError
{
public:
    /// By what the caller should do next.
    enum class Kind
    {
        NotReached, ///< try again, or at another address; whether it was done is not known
        NotFound,   ///< ask for something else
        Conflict,   ///< look at the state first: it does not allow this now
        Forbidden,  ///< ask somebody who may
        BadInput,   ///< ask differently
        Server,     ///< later: the manager cannot do it now
    };

    JobsError(Kind i_kind, const QString& i_sentence)
        : HostingError(i_sentence)
        , _kind(i_kind)
    {}

    Kind GetKind() const { return _kind; }

private:
    Kind _kind;
};

} // namespace Hosting
