#pragma once

#include "machinemanager/page/Call.h"

namespace MachineService::MachineManager::Interface {

// What answers the requests of the interface; the table of routes says which.

HttpResponse ListJobs(const PageContext& i_context, const Call& i_call);
HttpResponse AnnounceJob(const PageContext& i_context, const Call& i_call);
HttpResponse GetJob(const PageContext& i_context, const Call& i_call);
HttpResponse GetUpload(const PageContext& i_context, const Call& i_call);
HttpResponse ReceivePiece(const PageContext& i_context, const Call& i_call);
HttpResponse FinishUpload(const PageContext& i_context, const Call& i_call);
HttpResponse MakeAddress(const PageContext& i_context, const Call& i_call);
HttpResponse GetHistory(const PageContext& i_context, const Call& i_call);
HttpResponse GetCandidates(const PageContext& i_context, const Call& i_call);
HttpResponse GetPlatform(const PageContext& i_context, const Call& i_call);
HttpResponse GetMachineFile(const PageContext& i_context, const Call& i_call);
HttpResponse GetPicture(const PageContext& i_context, const Call& i_call);
template <JobAction Action>
HttpResponse Act(const PageContext& i_context, const Call& i_call);
HttpResponse MoveJob(const PageContext& i_context, const Call& i_call);
HttpResponse SetPriority(const PageContext& i_context, const Call& i_call);
HttpResponse PlaceJob(const PageContext& i_context, const Call& i_call);
HttpResponse CopyJob(const PageContext& i_context, const Call& i_call);

HttpResponse ListMachines(const PageContext& i_context, const Call& i_call);
HttpResponse GetMachine(const PageContext& i_context, const Call& i_call);
HttpResponse PauseMachine(const PageContext& i_context, const Call& i_call);
HttpResponse ResumeMachine(const PageContext& i_context, const Call& i_call);
HttpResponse SetLoaded(const PageContext& i_context, const Call& i_call);
HttpResponse SetPrinter(const PageContext& i_context, const Call& i_call);

HttpResponse BeginBackup(const PageContext& i_context, const Call& i_call);
HttpResponse EndBackup(const PageContext& i_context, const Call& i_call);
HttpResponse ListKeptFiles(const PageContext& i_context, const Call& i_call);
HttpResponse GetKeptFile(const PageContext& i_context, const Call& i_call);
HttpResponse ReceiveKeptFile(const PageContext& i_context, const Call& i_call);
HttpResponse Restore(const PageContext& i_context, const Call& i_call);
HttpResponse CheckStore(const PageContext& i_context, const Call& i_call);
HttpResponse CheckKeptFiles(const PageContext& i_context, const Call& i_call);

HttpResponse Listen(const PageContext& i_context, const Call& i_call);
HttpResponse GetInformation(const PageContext& i_context, const Call& i_call);
HttpResponse GetHealth(const PageContext& i_context, const Call& i_call);
HttpResponse GetMetrics(const PageContext& i_context, const Call& i_call);

/// A kept file, or the range of it that is asked for.
HttpResponse SendFile(const Call& i_call, const KeptFile& i_file, const std::filesystem::path& i_path,
                      const char* ip_type);

/// What `GET jobs` asks for.
/// \throws HttpError 400.
JobFilter ParseFilter(const PageContext& i_context, const Call& i_call);

} // namespace MachineService::MachineManager::Interface
