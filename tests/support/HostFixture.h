#pragma once

#include "support/MessageRecorder.h"
#include "support/Test.h"
#include "vexlorcore/Application.h"
#include "vexlorcore/UiThread.h"
#include "vexlorui/ReferenceApiProvider.h"

#include <QTemporaryDir>

namespace TestSupport {

/// A tetrahedron with edges of 10 mm along the axes, at a place on the platform.
inline TavAM::Part MakePart(const std::wstring& i_name, double i_x = 0, double i_y = 0)
{
    auto mesh = std::make_shared<TavAM::Mesh>();
    mesh->vertices = {{0, 0, 0}, {10, 0, 0}, {0, 10, 0}, {0, 0, 10}};
    mesh->triangles = {{{0, 2, 1}}, {{0, 1, 3}}, {{0, 3, 2}}, {{1, 2, 3}}};
    TavAM::Part part;
    part.SetName(i_name);
    part.SetRepresentation(TavAM::Representation::FromMesh(std::move(mesh)));
    part.SetPlacement(TavAM::Transform::Translation(i_x, i_y, 0));
    return part;
}

/// A host without a window: application, database, one active scene, API provider, and a folder that goes with it.
class Host
{
public:
    Host()
        : provider(GetDir() / "documents")
    {
        application.CreateDatabase();
        scene = GetDatabase().CreateDataSet();
        GetDatabase().SetActiveDataSet(scene);
    }
    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;

    VexlorCore::Database& GetDatabase() { return *application.GetDatabase(); }
    std::filesystem::path GetDir() const { return _dir.path().toStdString(); }
    VexlorCore::ApiProviderGetter GetProviderGetter()
    {
        return [this]() -> IVexlorApiProvider& {
            return provider;
        };
    }

private:
    QTemporaryDir _dir;

public:
    VexlorCore::UiThread uiThread;
    VexlorCore::Application application;
    Vexlor::ReferenceApiProvider provider;
    MessageRecorder messages;
    /// The active scene, of the database.
    VexlorCore::DataSet* scene = nullptr;
};

/// Base of tests that need a host.
class HostFixture : public testing::Test
{
protected:
    Host _host;
};

} // namespace TestSupport
