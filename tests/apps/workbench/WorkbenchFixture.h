#pragma once

#include "support/Files.h"
#include "support/HostFixture.h"
#include "workbench/base/Preferences.h"

#include "hosting/Host.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTemporaryDir>

#include <functional>
#include <memory>

namespace TestSupport {

/// Turns the event loop until it is so, or ten seconds are over.
inline bool WaitFor(const std::function<bool()>& i_condition, int i_deadline = 10'000)
{
    QElapsedTimer timer;
    timer.start();
    while (!i_condition() && timer.elapsed() < i_deadline)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
    return i_condition();
}

/// A host with the real Build Processors, in folders of its own.
class WorkbenchFixture : public ::testing::Test
{
protected:
    WorkbenchFixture()
    {
        qputenv("MESA_SHADER_CACHE_DISABLE", "true"); // it would outlive its folder
        for (const char* name : {"XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME"})
            qputenv(name, _dir.filePath(QLatin1String(name)).toUtf8());
        _preferences = std::make_unique<Workbench::Preferences>(_File("workbench.ini"));
        _host = std::make_unique<Hosting::Host>(_Path("documents"), _Path("data"));
    }

    QString _File(const char* ip_name) const { return _dir.filePath(QLatin1String(ip_name)); }
    std::filesystem::path _Path(const char* ip_name) const { return _File(ip_name).toStdString(); }
    std::filesystem::path _ProfilePath(const std::string& i_name) const
    {
        return _Path("XDG_CONFIG_HOME") / "machineservice/build-processors/profiles" / i_name;
    }
    /// A cube of this edge as a mesh file. Units: mm.
    QString _WriteCube(const char* ip_name, double i_edge) const
    {
        std::string text = "solid bracket\n";
        const int faces[6][4] = {{0, 2, 3, 1}, {4, 5, 7, 6}, {0, 1, 5, 4}, {2, 6, 7, 3}, {0, 4, 6, 2}, {1, 3, 7, 5}};
        const auto corner = [&](int i_corner) {
            return "vertex " + std::to_string((i_corner & 1) * i_edge) + " " +
                   std::to_string((i_corner >> 1 & 1) * i_edge) + " " + std::to_string((i_corner >> 2) * i_edge) + "\n";
        };
        for (const auto& face : faces) {
            for (const auto& corners : {std::array{face[0], face[1], face[2]}, std::array{face[0], face[2], face[3]}}) {
                text += "facet normal 0 0 0\nouter loop\n";
                for (const int one : corners)
                    text += corner(one);
                text += "endloop\nendfacet\n";
            }
        }
        WriteFile(_Path(ip_name), text + "endsolid bracket\n");
        return _File(ip_name);
    }

    QTemporaryDir _dir;
    std::unique_ptr<Workbench::Preferences> _preferences;
    std::unique_ptr<Hosting::Host> _host;
};

} // namespace TestSupport
