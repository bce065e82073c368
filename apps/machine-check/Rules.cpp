#include "machine-check/Rules.h"

namespace MachineCheck {

const std::vector<Rule>& GetRules()
{
    static const std::vector<Rule> rules{
        {"I1", "The service tells the revision of the protocol that it speaks, and an oldest one that is not newer."},
        {"I2", "The service tells its name."},
        {"U1", "Without credentials, calls are refused with UNAUTHENTICATED where the service says that it requires "
               "them, and only there."},
        {"U2", "Credentials that are wrong are rejected, and no token is given for them."},
        {"U3", "A token that the service did not give is refused with UNAUTHENTICATED."},
        {"C1", "The catalog begins with a snapshot whose last page says that it is the last."},
        {"C2", "Every event has an epoch of 16 bytes, which stays while the stream lasts."},
        {"C3", "Revisions never fall."},
        {"C4", "A machine's id has 16 bytes, is not all zero, and is told once in a snapshot."},
        {"C5", "A machine has a name."},
        {"C6", "A command's id has 16 bytes and is there once in its machine; a command has a name."},
        {"C7", "An icon that a command or machine names is there, and its SHA-256 is the one that was told."},
        {"C8", "Something is sent on a stream at least every heartbeat_interval_ms."},
        {"C9", "Another connection sees the same machines with the same ids."},
        {"C10", "A build volume has a positive size."},
        {"C11", "The language of a text, where it is told, is a tag of BCP 47."},
        {"W1", "A catalog that is resumed goes on at the revision that the host has, or begins with a snapshot."},
        {"W2", "A catalog that is resumed with an epoch of another life begins with a snapshot."},
        {"A1", "An answer names a command of the machine, and each once."},
        {"A2", "A machine that is not known is refused with NOT_FOUND and \"unknown-machine\"."},
        {"P1", "A platform's header comes once, and before its data."},
        {"P2", "Pieces follow each other without gaps, and their running SHA-256 matches."},
        {"P3", "The data are as long as the header says."},
        {"P4", "Percentages are 0 to 100 and never fall."},
        {"M1", "A change of a platform is answered with one header without items, or refused with a failure that has a "
               "code."},
        {"M2", "A piece of a changed platform that is damaged is refused."},
        {"S1", "A print strategy has an id and a name, and is told once for each role."},
        {"R1", "A run with an input waits for it, and has received nothing."},
        {"R2", "The same id is the same run, whoever asks how often."},
        {"R3", "A damaged piece is refused and does not count."},
        {"R4", "An upload goes on at the byte that was received last."},
        {"R5", "A run's percentages are 0 to 100 and never fall."},
        {"R6", "A run that is watched ends finished or failed, and tells so again when it is asked again."},
        {"R7", "A failed run has a failure with a code; a finished one has none."},
        {"R8", "Files have plain names, and what is fetched has their size and SHA-256, also from an offset."},
        {"R9", "A run that is cancelled fails with ERROR_CODE_PROCESSING_ABORTED within a second."},
        {"R10", "A run that is not known is refused with NOT_FOUND and \"unknown-run\", also when it is resumed."},
        {"R11", "A run that was released is forgotten, and releasing it again does no harm."},
        {"R12", "A build that finishes with a platform leaves exactly one file beside the .TavAMX: the machine file."},
        {"R13", "From revision 2 on, an input may be announced without its SHA-256."},
    };
    return rules;
}

} // namespace MachineCheck
