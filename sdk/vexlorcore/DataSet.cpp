#include "vexlorcore/DataSet.h"

#include <algorithm>
#include <utility>

namespace VexlorCore {

DataSet::DataSet(Database* ip_database)
    : _database(ip_database)
    , _platform(std::make_shared<TavAM::Platform>())
{}

DataSet::~DataSet() = default;

void DataSet::SetPlatform(TavAM::Platform i_platform)
{
    *_platform = std::move(i_platform);
    auto selection = _selection;
    std::erase_if(selection, [this](const auto& i_id) { return !_platform->FindPart(i_id); });
    SetSelection(std::move(selection));
}

void DataSet::SetSelection(std::vector<boost::uuids::uuid> i_selection)
{
    if (i_selection == _selection)
        return;
    _selection = std::move(i_selection);
    if (_sender)
        _sender->Send(SelectionChanged());
}

void DataSet::SetNotificationSender(std::unique_ptr<NotificationSender> ip_sender)
{
    _sender = std::move(ip_sender);
}

} // namespace VexlorCore
