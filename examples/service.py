#!/usr/bin/python3
"""service.py ADDRESS: a machine service in Python, at unix:/PATH. docs/write-a-machine-service.md explains it."""
import base64
import io
import sys
import time
import uuid
import zipfile

from service_base import Service, digest, grpc, m, pieces, refuse, serve, t

ICON = base64.b64decode("iVBORw0KGgoAAAANSUhEUgAAABAAAAAQCAYAAAAf8/9hAAAAIUlEQVR42mNgGD7ghI3Gf1IwVgNIsWzUgOFrAEUJaegCACjM"
                        "VrluxtHfAAAAAElFTkSuQmCC")
MACHINE = uuid.UUID("5c0f7a4e-31a1-4c05-9a1e-0c2f6f2d7e01").bytes  # stay the same for ever
COMMAND = uuid.UUID("5c0f7a4e-31a1-4c05-9a1e-0c2f6f2d7e02").bytes
EPOCH = uuid.uuid4().bytes
INFORMATION = """<PlatformInformation><Name>Plotter</Name><Parameters>
  <Choice id="Plotter.Pen" name="Pen"><Item id="thin" name="Thin" isDefault="true"/><Item id="bold" name="Bold"/></Choice>
</Parameters></PlatformInformation>"""
PLATFORM = """<PlatformFile xmlns="https://www.vexlor.example/AM/PlatformFile/2026/11" version="1"><Platform name="Plotter">
  <Properties><Property name="Plotter.Pen" value="%s"/></Properties>
  <Machine name="Plotter" manufacturer="Example" modelId="plotter"/>
</Platform></PlatformFile>"""


def platform_replies(xml, pen):
    """The answer to both questions about platforms: a header, then everything as one stream of pieces."""
    file = io.BytesIO()
    with zipfile.ZipFile(file, "w") as package:
        package.writestr("platform.xml", PLATFORM % pen)
    item = m.PlatformItem(kind=m.PLATFORM_DATA_KIND_PLATFORM, size_bytes=len(file.getvalue()))
    result = t.CommandResult(completed=True, data_format=t.DATA_FORMAT_PLATFORM)
    yield m.PlatformReply(header=m.PlatformHeader(xml_bytes=len(xml), items=[item], result=result))
    for piece in pieces(xml + file.getvalue()):
        yield m.PlatformReply(chunk=piece)


class Plotter(Service):
    def check(self, request, context):
        if request.machine.machine_id != MACHINE:
            refuse(context, grpc.StatusCode.NOT_FOUND, "unknown-machine", "The machine is not known.")

    def work(self, run):
        for percent in range(0, 100, 5):
            run.state.stage.text = "Plotting"
            yield percent
            time.sleep(0.02)
        return "plot.txt", b"%d bytes were plotted.\n" % len(run.input)

    def GetServiceInformation(self, request, context):
        return m.ServiceInformation(protocol_revision=1, oldest_host_revision=1, name="Plotters",
                                    components=[m.Component(name="service.py", version="1.0")],
                                    heartbeat_interval_ms=5000, finished_run_kept_ms=600000)

    def WatchCatalog(self, request, context):
        plotter = t.Machine(id=MACHINE, name="Plotter", manufacturer="Example", service_kind=t.SERVICE_KIND_BUILD_PROCESSORS,
                            representation=t.MACHINE_REPRESENTATION_MACHINE, state=t.MACHINE_STATE_READY)
        plotter.commands.add(type=t.COMMAND_TYPE_ADDITIONAL, id=COMMAND, data_format=t.DATA_FORMAT_DOCUMENT,
                             name=t.Text(text="Plot", language="en"), icon_sha256=digest(ICON))
        yield m.CatalogEvent(epoch=EPOCH, revision=1, status=t.SERVICE_STATUS_RUNNING)
        yield m.CatalogEvent(epoch=EPOCH, revision=1, snapshot=m.SnapshotPage(machines=[plotter], is_last=True))
        while context.is_active():
            time.sleep(1)
            yield m.CatalogEvent(epoch=EPOCH, revision=1, heartbeat=m.Heartbeat())

    def GetIcons(self, request, context):
        return (m.Icon(sha256=wanted, content=ICON) for wanted in request.sha256 if wanted == digest(ICON))

    def GetPlatformInformation(self, request, context):
        self.check(request, context)
        return platform_replies(INFORMATION.encode(), "thin")

    def GetEmptyPlatform(self, request, context):
        self.check(request, context)
        return platform_replies(b"", "bold" if ">bold<" in request.parameters else "thin")


serve(Plotter(), sys.argv[1])
