#pragma once

namespace VexlorCore {

/// Settings of the host that its plug-ins read.
/// Thread: UI thread.
class CoreSettings
{
public:
    bool GetDisableBuildButton() const { return _disableBuildButton; }
    void SetDisableBuildButton(bool i_disable) { _disableBuildButton = i_disable; }

    /// Part-naming preference: job names are English whatever the host's language.
    bool GetEnglishJobNames() const { return _englishJobNames; }
    void SetEnglishJobNames(bool i_english) { _englishJobNames = i_english; }

private:
    bool _disableBuildButton = false;
    bool _englishJobNames = false;
};

} // namespace VexlorCore
