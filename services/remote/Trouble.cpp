#include "remote/Trouble.h"

#include "tavsdk/Text.h"

#include <utility>

namespace MachineService::Remote {

namespace {

struct Sentence
{
    const char* beginning; ///< the address comes between the two
    const char* end;
};

Sentence GetSentence(Trouble i_trouble)
{
    switch (i_trouble) {
    case Trouble::NameNotFound:
        return {"The host of the machine service ",
                " is not known: correct the address, or look whether this computer is on the network."};
    case Trouble::Refused:
        return {"No machine service answers at ", ": start it there, or correct the address."};
    case Trouble::NoAnswer:
        return {"The machine service at ",
                " does not answer: look whether its computer runs and can be reached, and start the service again."};
    case Trouble::Lost:
        return {"The connection to the machine service at ",
                " broke: it is made again as soon as the service answers; look whether the service runs."};
    case Trouble::CertificateUnknown:
        return {"Nobody whom this computer trusts vouches for the machine service at ",
                ": name the file with the certificate of its authority for this service, or have the service use "
                "another certificate."};
    case Trouble::CertificateExpired:
        return {"The certificate of the machine service at ",
                " is out of date: have it renewed, and look at the clock of this computer."};
    case Trouble::CertificateOfAnotherHost:
        return {"The certificate of the machine service at ",
                " is for another host: use the name that stands in the certificate, or have it renewed for this one."};
    case Trouble::CertificateChanged:
        return {"The certificate of the machine service at ",
                " has changed since it was pinned: somebody else may answer there, so ask its administrator whether it "
                "was renewed, and take the old pin away only then."};
    case Trouble::CredentialsNeeded:
        return {"The machine service at ", " asks for credentials: give those that its administrator made for you."};
    case Trouble::CredentialsRefused:
        return {"The machine service at ",
                " does not accept the credentials: correct them, or ask its administrator for new ones."};
    case Trouble::ServiceTooOld:
        return {"The machine service at ", " is too old for this program: renew the service."};
    case Trouble::HostTooOld:
        return {"This program is too old for the machine service at ", ": renew this program."};
    case Trouble::NoMachineService:
        return {"What answers at ", " is no machine service: correct the address."};
    case Trouble::TooLarge:
        return {"The platform is larger than the machine service at ",
                " takes: put fewer parts on it, or ask the administrator of the service to allow more."};
    case Trouble::Damaged:
        return {"What travelled between this computer and the machine service at ",
                " arrived damaged again and again: try again, and have the network looked at."};
    case Trouble::Busy:
        return {"The machine service at ", " has too much to do: try again later."};
    case Trouble::RunUnknown:
        return {"The machine service at ",
                " was started anew and knows nothing of this run any more: run the command again."};
    case Trouble::RunLost:
        return {"The connection to the machine service at ",
                " broke during the run and did not come back: look at the machine for what became of the job, and run "
                "the command again when the service answers."};
    case Trouble::GoingDown:
        break;
    }
    return {"The machine service at ", " is not used any more: start this program again."};
}

} // namespace

std::string DescribeTrouble(Trouble i_trouble, const ServiceAddress& i_address)
{
    const auto sentence = GetSentence(i_trouble);
    return sentence.beginning + TavSDK::Quote(i_address.text, 300) + sentence.end;
}

TroubleException::TroubleException(Trouble i_trouble, const ServiceAddress& i_address, const std::string& i_more,
                                   std::string i_fingerprint)
    // Mostly a code without a sentence of its own, so that this one is read.
    : CommunicationException(i_trouble == Trouble::GoingDown ? ErrorCode::ServicesUnavailable
                                                             : ErrorCode::InternalError,
                             (DescribeTrouble(i_trouble, i_address) + i_more).c_str())
    , trouble(i_trouble)
    , fingerprint(std::move(i_fingerprint))
{}

bool MayPass(Trouble i_trouble)
{
    switch (i_trouble) {
    case Trouble::Refused:
    case Trouble::NoAnswer:
    case Trouble::Lost:
    case Trouble::NameNotFound:
        return true;
    default:
        return false;
    }
}

} // namespace MachineService::Remote
