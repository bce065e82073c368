#pragma once

#include "catalog/ProxyMachinesCatalog.h"
#include "support/FakeMachineService.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace TestSupport {

/// A proxy whose rule rejects the machines of a list, and a log of what it raises: "+1", "-1", "~1:4", "s2:3".
class ProxyFixture : public ::testing::Test
{
protected:
    ProxyFixture()
        : _proxy(std::make_unique<MachineService::ProxyMachinesCatalog>(
              &_source, [this](const MachineService::MachineData& i_data) {
                  const bool isAccepted = [&] {
                      const std::lock_guard lock(_mutex);
                      return !_rejected.contains(i_data.id);
                  }();
                  // What happens now, happens while the answer is under way.
                  if (_onRule)
                      _onRule(i_data.id);
                  return isAccepted;
              }))
    {
        const auto number = [](const boost::uuids::uuid& i_id) {
            return std::to_string(i_id.data[15]);
        };
        _proxy->ConnectMachineAdded([=, this](const auto& i_id) { _Log("+" + number(i_id)); });
        _proxy->ConnectMachineRemoved([=, this](const auto& i_id) { _Log("-" + number(i_id)); });
        _proxy->ConnectMachineUpdated([=, this](const auto& i_id, MachineService::MachineChanges i_changes) {
            _Log("~" + number(i_id) + ":" + std::to_string(static_cast<int>(i_changes)));
        });
        _proxy->ConnectServiceStatusUpdated([this](MachineService::ServiceId i_service,
                                                   MachineService::ServiceStatus i_status) {
            _Log("s" + std::to_string(static_cast<int>(i_service)) + ":" + std::to_string(static_cast<int>(i_status)));
        });
    }

    void _Log(const std::string& i_text)
    {
        const std::lock_guard lock(_mutex);
        _log.push_back(i_text);
    }
    std::vector<std::string> _TakeLog()
    {
        const std::lock_guard lock(_mutex);
        return std::exchange(_log, {});
    }
    void _Reject(std::uint8_t i_number, bool i_reject = true)
    {
        const std::lock_guard lock(_mutex);
        if (i_reject)
            _rejected.insert(MakeId(i_number));
        else
            _rejected.erase(MakeId(i_number));
    }

    std::mutex _mutex; // guards _log and _rejected
    std::vector<std::string> _log;
    std::set<boost::uuids::uuid> _rejected;
    std::function<void(const boost::uuids::uuid&)> _onRule;
    FakeMachinesCatalog _source;
    std::unique_ptr<MachineService::ProxyMachinesCatalog> _proxy;
};

} // namespace TestSupport
