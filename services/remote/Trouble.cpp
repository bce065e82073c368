#include "remote/Trouble.h"

#include "tavsdk/Text.h"

#include <QCoreApplication>

#include <utility>

namespace MachineService::Remote {

namespace {

constexpr std::size_t LongestAddress = 300; ///< that a sentence shows

// A class, because the translation tools take the context from it.
struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(MachineService::Remote)
};

/// %1 is the address, in quotes.
QString GetSentence(Trouble i_trouble)
{
    switch (i_trouble) {
    case Trouble::NameNotFound:
        return Texts::tr("The host of the machine service %1 is not known: correct the address, or look whether this "
                         "computer is on the network.");
    case Trouble::Refused:
        return Texts::tr("No machine service answers at %1: start it there, or correct the address.");
    case Trouble::NoAnswer:
        return Texts::tr("The machine service at %1 does not answer: look whether its computer runs and can be "
                         "reached, and start the service again.");
    case Trouble::Lost:
        return Texts::tr("The connection to the machine service at %1 broke: it is made again as soon as the service "
                         "answers; look whether the service runs.");
    case Trouble::CertificateUnknown:
        return Texts::tr(
            "Nobody whom this computer trusts vouches for the machine service at %1: name the file with the "
            "certificate of its authority for this service, or have the service use another certificate.");
    case Trouble::CertificateExpired:
        return Texts::tr("The certificate of the machine service at %1 is out of date: have it renewed, and look at "
                         "the clock of this computer.");
    case Trouble::CertificateOfAnotherHost:
        return Texts::tr("The certificate of the machine service at %1 is for another host: use the name that stands "
                         "in the certificate, or have it renewed for this one.");
    case Trouble::CertificateChanged:
        return Texts::tr(
            "The certificate of the machine service at %1 has changed since it was pinned: somebody else may answer "
            "there, so ask its administrator whether it was renewed, and take the old pin away only then.");
    case Trouble::CredentialsNeeded:
        return Texts::tr(
            "The machine service at %1 asks for credentials: give those that its administrator made for you.");
    case Trouble::CredentialsRefused:
        return Texts::tr("The machine service at %1 does not accept the credentials: correct them, or ask its "
                         "administrator for new ones.");
    case Trouble::ServiceTooOld:
        return Texts::tr("The machine service at %1 is too old for this program: renew the service.");
    case Trouble::HostTooOld:
        return Texts::tr("This program is too old for the machine service at %1: renew this program.");
    case Trouble::NoMachineService:
        return Texts::tr("What answers at %1 is no machine service: correct the address.");
    case Trouble::TooLarge:
        return Texts::tr("The platform is larger than the machine service at %1 takes: put fewer parts on it, or ask "
                         "the administrator of the service to allow more.");
    case Trouble::Damaged:
        return Texts::tr("What travelled between this computer and the machine service at %1 arrived damaged again and "
                         "again: try again, and have the network looked at.");
    case Trouble::Busy:
        return Texts::tr("The machine service at %1 has too much to do: try again later.");
    case Trouble::RunUnknown:
        return Texts::tr("The machine service at %1 was started anew and knows nothing of this run any more: run the "
                         "command again.");
    case Trouble::RunLost:
        return Texts::tr(
            "The connection to the machine service at %1 broke during the run and did not come back: look at the "
            "machine for what became of the job, and run the command again when the service answers.");
    case Trouble::GoingDown:
        break;
    }
    return Texts::tr("The machine service at %1 is not used any more: start this program again.");
}

} // namespace

std::string DescribeTrouble(Trouble i_trouble, const ServiceAddress& i_address)
{
    const std::string quoted = TavSDK::Quote(i_address.text, LongestAddress);
    return GetSentence(i_trouble).arg(QString::fromStdString(quoted)).toStdString();
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
