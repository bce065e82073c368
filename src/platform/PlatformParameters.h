#pragma once

#include "platform/IPlatformParameterChoice.h"

#include <cstddef>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace MachineService {

/// The common part of parameters of any kind; the reader fills it once.
template <class Interface>
class PlatformParameterBase : public Interface
{
public:
    PlatformParameterBase(std::wstring i_id, std::wstring i_name, bool i_is_required = false)
        : _id(std::move(i_id))
        , _name(std::move(i_name))
        , _isRequired(i_is_required)
    {}

    const std::wstring& GetId() const override { return _id; }
    const std::wstring& GetName() const override { return _name; }
    bool IsRequired() const override { return _isRequired; }

private:
    std::wstring _id;
    std::wstring _name;
    bool _isRequired;
};

class PlatformParameterChoice final : public PlatformParameterBase<IPlatformParameterChoice>
{
public:
    using PlatformParameterBase::PlatformParameterBase;
    static constexpr int Type = 1;

    int GetType() const override { return Type; }
    std::size_t GetItemCount() const override { return _items.size(); }
    IPlatformParameterChoiceItem* GetItem(std::size_t i_index) const override { return _items.at(i_index).get(); }

    void AddItem(std::unique_ptr<IPlatformParameterChoiceItem> ip_item) { _items.push_back(std::move(ip_item)); }

private:
    std::vector<std::unique_ptr<IPlatformParameterChoiceItem>> _items;
};

class PlatformParameterChoiceItem final : public IPlatformParameterChoiceItem
{
public:
    PlatformParameterChoiceItem(std::wstring i_id, std::wstring i_name, bool i_is_default)
        : _id(std::move(i_id))
        , _name(std::move(i_name))
        , _isDefault(i_is_default)
    {}

    const std::wstring& GetId() const override { return _id; }
    const std::wstring& GetName() const override { return _name; }
    bool IsDefault() const override { return _isDefault; }

private:
    std::wstring _id;
    std::wstring _name;
    bool _isDefault;
};

} // namespace MachineService
