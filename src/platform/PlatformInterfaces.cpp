// What the exported interfaces of this folder define themselves; none of it copies anything.
#include "platform/IPlatformCreator.h"
#include "platform/IPlatformParameter.h"
#include "platform/IPlatformParameterChoice.h"
#include "platform/IPlatformParameterChoiceItem.h"

namespace MachineService {

IPlatformParameter::IPlatformParameter() = default;
IPlatformParameter::IPlatformParameter(const IPlatformParameter&) {}
IPlatformParameter& IPlatformParameter::operator=(const IPlatformParameter&)
{
    return *this;
}
IPlatformParameter::~IPlatformParameter() = default;

IPlatformParameterChoice::IPlatformParameterChoice() = default;
IPlatformParameterChoice::IPlatformParameterChoice(const IPlatformParameterChoice& i_other)
    : IPlatformParameter(i_other)
{}
IPlatformParameterChoice::IPlatformParameterChoice(IPlatformParameterChoice&&) noexcept {}
IPlatformParameterChoice& IPlatformParameterChoice::operator=(const IPlatformParameterChoice&)
{
    return *this;
}
IPlatformParameterChoice& IPlatformParameterChoice::operator=(IPlatformParameterChoice&&) noexcept
{
    return *this;
}
IPlatformParameterChoice::~IPlatformParameterChoice() = default;

IPlatformParameterChoiceItem::IPlatformParameterChoiceItem() = default;
IPlatformParameterChoiceItem::IPlatformParameterChoiceItem(const IPlatformParameterChoiceItem&) {}
IPlatformParameterChoiceItem& IPlatformParameterChoiceItem::operator=(const IPlatformParameterChoiceItem&)
{
    return *this;
}
IPlatformParameterChoiceItem::~IPlatformParameterChoiceItem() = default;

IPlatformCreator::IPlatformCreator() = default;
IPlatformCreator::IPlatformCreator(const IPlatformCreator&) {}
IPlatformCreator& IPlatformCreator::operator=(const IPlatformCreator&)
{
    return *this;
}
IPlatformCreator::~IPlatformCreator() = default;

} // namespace MachineService
