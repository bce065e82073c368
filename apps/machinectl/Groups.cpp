#include "machinectl/Groups.h"

#include "hosting/jobs/JobsError.h"
#include "machinectl/JobViews.h"
#include "machinectl/TextWidth.h"
#include "tavsdk/Text.h"

#include <QCoreApplication>

#include <algorithm>
#include <set>

namespace MachineCtl {

namespace {

using namespace Hosting;

// A class, because the translation tools take the context from it.
struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(MachineCtl::Groups)
};

bool Begins(const std::string& i_text, const QString& i_word)
{
    return QString::fromStdString(i_text).startsWith(i_word, Qt::CaseInsensitive);
}

} // namespace

Jobs::Target FindGroup(const CommandLine& i_line, const std::vector<Jobs::Machine>& i_machines)
{
    const auto word = QString::fromStdString(i_line.Get("group"));
    const auto quoted = QString::fromStdString(TavSDK::Quote(i_line.Get("group")));
    std::set<std::string> models;
    for (const auto& machine : i_machines) {
        if (machine.model == i_line.Get("group"))
            return {{}, machine.model, i_line.Get("material")};
        const bool isCalled =
            !machine.model.empty() && !word.isEmpty() && (Begins(machine.model, word) || Begins(machine.name, word));
        if (isCalled)
            models.insert(machine.model);
    }
    if (models.empty())
        throw JobsError(JobsError::Kind::NotFound,
                        Texts::tr("There is no group %1; a group is called by the model of its machines, or by how "
                                  "their names begin.")
                            .arg(quoted));
    if (models.size() > 1) {
        QStringList names;
        for (const auto& model : models)
            names.append(CleanText(model));
        throw JobsError(JobsError::Kind::NotFound,
                        Texts::tr("The group %1 may be that of several models; name one of %2.")
                            .arg(quoted, names.join(QStringLiteral(", "))));
    }
    return {{}, *models.begin(), i_line.Get("material")};
}

std::vector<Jobs::Machine> SelectGroup(const Jobs::Target& i_group, const std::vector<Jobs::Machine>& i_machines)
{
    std::vector<Jobs::Machine> chosen;
    std::copy_if(i_machines.begin(), i_machines.end(), std::back_inserter(chosen),
                 [&](const Jobs::Machine& i_machine) { return i_machine.model == i_group.model; });
    return chosen;
}

QString FindHindrance(const Jobs::Target& i_group, const Jobs::Machine& i_machine)
{
    if (!i_machine.reasons.empty())
        return CleanText(i_machine.reasons.front());
    const auto& loaded = i_machine.loaded.material;
    if (!i_group.material.empty() && !loaded.empty() && loaded != i_group.material)
        return Texts::tr("%1 is loaded, not %2.").arg(CleanText(loaded), CleanText(i_group.material));
    if (i_machine.current)
        return Texts::tr("It works on the job %1.").arg(i_machine.current->number);
    return {};
}

Table MakeGroupTable(const Jobs::Target& i_group, const std::vector<Jobs::Machine>& i_machines)
{
    Table table({{Texts::tr("Machine"), 10, 9},
                 {Texts::tr("State"), 7, 8},
                 {Texts::tr("Loaded"), 8, 6},
                 {Texts::tr("Takes a job"), 12, 7}});
    for (const auto& machine : i_machines) {
        const auto hindrance = FindHindrance(i_group, machine);
        table.AddRow({CleanText(machine.name),
                      {CleanText(machine.state), GetStateLook(machine.state)},
                      FormatLoaded(machine.loaded),
                      hindrance.isEmpty() ? Cell(Texts::tr("now"), Look::Good) : Cell(hindrance, Look::Waiting)});
    }
    return table;
}

void CheckOneTarget(const CommandLine& i_line, bool i_has_machine)
{
    if (i_line.Has("material") && !i_line.Has("group"))
        throw UsageError(Texts::tr("--material is for a --group; what a machine has to have loaded is told by the "
                                   "platform."));
    if (i_has_machine && i_line.Has("group"))
        throw UsageError(Texts::tr("A job is for a machine or for a --group, not for both."));
    if (!i_has_machine && !i_line.Has("group"))
        throw UsageError(Texts::tr("Name a machine, or the model of a group by --group."));
}

} // namespace MachineCtl
