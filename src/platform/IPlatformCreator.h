#pragma once

#include "client/interface/Machine.h"
#include "machineservice_export.h"
#include "platform/IPlatformParameterChoice.h"

#include "vexlorcore/IVexlorApiProvider.h"

#include <cstddef>
#include <memory>
#include <string>

namespace MachineLayer {
class IMachineData;
}
namespace VexlorCore {
class DataSet;
}

namespace MachineService {

/// Makes an empty build platform of one machine, as the user wants it.
///
/// \code
/// auto information = machine.GetPlatformInformation();
/// std::wstring message;
/// auto creator = MachineService::TryCreatePlatformCreator(machine, information, apiProvider, message);
/// if (!creator)
///     return Show(message);
/// for (std::size_t index = 0; index < creator->GetParameterCount(); ++index)
///     creator->SetParameterValue(creator->GetParameter(index)->GetId(), AskUser(*creator->GetParameter(index)));
/// creator->CreatePlatform(scene, false);
/// \endcode
///
/// Thread: the caller's, one at a time; operations that ask the machine block it. On the UI thread they wait under the
/// host's progress display, which keeps the event loop turning and lets the user cancel: the creator must not be
/// destroyed from there. Scenes belong to the UI thread.
/// Ownership: pointers to parameters stay valid until the platform information is replaced. Interface objects carry no
/// data: copying and assigning one copies nothing.
class MACHINESERVICE_EXPORT IPlatformCreator
{
public:
    IPlatformCreator(const IPlatformCreator& i_other);
    IPlatformCreator& operator=(const IPlatformCreator& i_other);
    virtual ~IPlatformCreator();

    /// Owned by the creator, until the platform information is replaced.
    virtual MachineLayer::IMachineData* GetMachineData() = 0;
    virtual const MachineLayer::IMachineData* GetMachineData() const = 0;

    /// Asks the machine again. When it does not answer, or the user cancels, the information is empty afterwards.
    /// \throws CommunicationException for an answer that cannot be read; the information then stays.
    virtual void RefreshPlatformInformation() = 0;
    /// \throws CommunicationException as RefreshPlatformInformation.
    virtual void SetPlatformInformation(const PlatformInfo& i_platform_info) = 0;

    virtual const std::wstring& GetName() const = 0;
    virtual const std::wstring& GetComment() const = 0;
    virtual std::size_t GetMaterialCount() const = 0;
    /// \throws std::out_of_range.
    virtual const std::wstring& GetMaterial(std::size_t i_index) const = 0;

    /// Records a value, also under an id that no parameter has; without any parameter it does nothing.
    virtual void SetParameterValue(const std::wstring& i_id, const std::wstring& i_value) = 0;
    virtual std::size_t GetParameterCount() const = 0;
    /// \throws std::out_of_range.
    virtual IPlatformParameterChoice* GetParameter(std::size_t i_index) const = 0;

    /// Asks the machine for the empty platform and brings it into the scene.
    ///
    /// For parameters that nobody recorded a value of, a property of the scene of the same name counts.
    /// \param i_keep_parts passed on to IVexlorApiProvider::LoadPlatformFile.
    /// \return false when there is nothing to load or the machine's queue does not take anything.
    /// \throws CommunicationException with the user's sentence; ProcessingAborted after a cancellation. What the host
    /// throws, VexlorCore::SceneClosed when the scene was closed meanwhile.
    virtual bool CreatePlatform(VexlorCore::DataSet* ip_data_set, bool i_keep_parts) const = 0;

protected:
    IPlatformCreator();
};

/// A creator for the machine that gave this platform information; waits for the information, as IPlatformCreator does.
///
/// \param io_platform_information is used up.
/// \param o_error_message what to show the user. May be set although there is a creator: the machine then has something
/// to say; is not touched otherwise.
/// \return null when the machine gave no platform or its information cannot be read.
MACHINESERVICE_EXPORT std::unique_ptr<IPlatformCreator>
TryCreatePlatformCreator(const Machine& i_machine, ProgressWatcherFuture<PlatformInfo>& io_platform_information,
                         VexlorCore::ApiProviderGetter i_api_provider, std::wstring& o_error_message);

} // namespace MachineService
