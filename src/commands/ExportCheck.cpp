#include "commands/ExportCheck.h"

#include "client/interface/MachineData.h"
#include "commands/FailureReport.h"

#include "vexlorcore/Application.h"

#include <QCoreApplication>

#include <algorithm>

namespace MachineService::Helpers {

namespace {

using TavAM::RepresentationKind;

bool CanExport(const VexlorCore::Part& i_part, const MachineData& i_data)
{
    const TavAM::Representation& representation = i_part.GetRepresentation();
    if (!i_data.acceptsComposedParts && representation.GetKind() == RepresentationKind::Composed)
        return false;
    if (!i_data.acceptsImplicitData && representation.Holds(RepresentationKind::Implicit))
        return false;
    // No machine takes BREP data.
    return !representation.Holds(RepresentationKind::Brep);
}

const VexlorCore::DataSet* GetActiveDataSet()
{
    const VexlorCore::Application* const application = VexlorCore::Application::GetInstance();
    const VexlorCore::Database* const database = application ? application->GetDatabase() : nullptr;
    return database ? database->GetActiveDataSet() : nullptr;
}

} // namespace

bool CheckExport(const MachineData& i_data, const VexlorCore::ApiProviderGetter& i_api_provider)
{
    const VexlorCore::DataSet* const dataSet = GetActiveDataSet();
    if (!dataSet)
        return true;
    const auto& parts = dataSet->GetParts();
    if (std::all_of(parts.begin(), parts.end(), [&](const auto& i_part) { return CanExport(i_part, i_data); }))
        return true;
    ShowFailure(
        i_api_provider,
        QCoreApplication::translate(
            "PrinterHelpers",
            "Some data on the platform can't be exported to the current machine. To be able to export, make the "
            "following changes:\n - Convert implicit data to mesh\n - Convert BREP data to mesh\n - Split "
            "composed parts\n - or change to a build processor that supports your data"));
    return false;
}

} // namespace MachineService::Helpers
