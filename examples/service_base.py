"""What a machine service in Python does the same way whatever its machine is: stubs, pieces of files, runs, the server."""
import hashlib
import os
import pathlib
import shutil
import subprocess
import sys
import threading
import time
from concurrent.futures import ThreadPoolExecutor

ROOT = pathlib.Path(__file__).resolve().parent.parent
PROTOS = next(path for path in (ROOT / "services/wire", ROOT / "proto") if (path / "machineservice").is_dir())
STUBS = pathlib.Path(os.environ.get("XDG_CACHE_HOME", pathlib.Path.home() / ".cache")) / "machineservice/python"
if not (STUBS / "complete").exists():
    STUBS.mkdir(parents=True, exist_ok=True)
    plugin = "--plugin=protoc-gen-grpc_python=" + (shutil.which("grpc_python_plugin") or "grpc_python_plugin")
    subprocess.run(["protoc", f"-I{PROTOS}", f"--python_out={STUBS}", f"--grpc_python_out={STUBS}", plugin,
                    *PROTOS.rglob("*.proto")], check=True)
    (STUBS / "complete").touch()
sys.path.insert(0, str(STUBS))
import grpc
from machineservice.v1 import machines_pb2 as m, machines_pb2_grpc, runs_pb2 as r, types_pb2 as t


def digest(content):
    return hashlib.sha256(content).digest()


def pieces(content, offset=0):
    for begin in range(offset, len(content), 262144):
        end = min(begin + 262144, len(content))
        yield t.Chunk(offset_bytes=begin, content=content[begin:end], sha256_so_far=digest(content[:end]))


def refuse(context, code, reason, sentence):
    failure = t.Failure(code=t.ERROR_CODE_INTERNAL_ERROR, reason=reason, sentence=t.Text(text=sentence, language="en"))
    context.set_trailing_metadata((("machineservice-failure-bin", failure.SerializeToString()),))
    context.abort(code, sentence)


class Run:
    """One run. Its work is work(run), which yields percentages and returns what it left, as (name, content)."""

    def __init__(self, request, work):
        self.request, self.work, self.cancelled = request, work, threading.Event()
        self.input, self.hash, self.output = bytearray(), hashlib.sha256(), b""
        self.state = r.Run(run_id=request.run_id, phase=r.RUN_PHASE_WAITING_FOR_INPUT)
        if not request.input.size_bytes:
            self.begin()

    def take(self, chunk, context):
        if chunk.offset_bytes != len(self.input):
            refuse(context, grpc.StatusCode.INVALID_ARGUMENT, "wrong-order", "The piece is not the next one.")
        hashed = self.hash.copy()
        hashed.update(chunk.content)
        if len(self.input) + len(chunk.content) > self.request.input.size_bytes:
            refuse(context, grpc.StatusCode.INVALID_ARGUMENT, "too-large", "There is more than was announced.")
        if hashed.digest() != chunk.sha256_so_far:
            refuse(context, grpc.StatusCode.DATA_LOSS, "damaged", "The piece was damaged; send it again.")
        self.hash = hashed
        self.input += chunk.content
        if len(self.input) == self.request.input.size_bytes:
            if hashed.digest() != self.request.input.sha256:
                self.input, self.hash = bytearray(), hashlib.sha256()
                refuse(context, grpc.StatusCode.DATA_LOSS, "damaged", "The input is not what was announced.")
            self.begin()
        self.state.received_bytes = len(self.input)

    def begin(self):
        self.state.phase = r.RUN_PHASE_RUNNING
        threading.Thread(target=self.carry_out, daemon=True).start()

    def carry_out(self):
        try:
            steps = self.work(self)
            while not self.cancelled.is_set():
                self.state.percent = next(steps)
        except StopIteration as end:
            name, self.output = end.value
            self.state.files.add(name=name, size_bytes=len(self.output), sha256=digest(self.output))
            self.state.result.CopyFrom(t.CommandResult(completed=True, data_format=t.DATA_FORMAT_DOCUMENT))
            self.state.percent, self.state.phase = 100, r.RUN_PHASE_FINISHED
        else:
            self.fail(t.ERROR_CODE_PROCESSING_ABORTED, "The run was cancelled.")

    def fail(self, code, sentence):
        self.state.failure.CopyFrom(t.Failure(code=code, sentence=t.Text(text=sentence, language="en")))
        self.state.phase = r.RUN_PHASE_FAILED


class Service(machines_pb2_grpc.MachineServiceServicer):
    """The calls about runs. A derived class has the calls about its machines, and work(run)."""

    def __init__(self):
        self.runs, self.lock = {}, threading.RLock()

    def find(self, request, context):
        return self.runs.get(request.run_id) or refuse(context, grpc.StatusCode.NOT_FOUND, "unknown-run",
                                                       "The run is not known.")

    def StartRun(self, request, context):
        with self.lock:  # the same id is the same run, whoever asks how often
            if request.run_id not in self.runs:
                if request.is_resumption:
                    self.find(request, context)
                if len(request.run_id) != 16:
                    refuse(context, grpc.StatusCode.INVALID_ARGUMENT, "bad-request", "The run has no id.")
                self.check(request, context)
                self.runs[request.run_id] = Run(request, self.work)
            return self.runs[request.run_id].state

    def Upload(self, requests, context):
        run = None
        for request in requests:
            run = run or self.find(request, context)
            with self.lock:
                if run.state.phase != r.RUN_PHASE_WAITING_FOR_INPUT:
                    break
                run.take(request.chunk, context)
        return run.state

    def WatchRun(self, request, context):
        run = self.find(request, context)
        while run.state.phase in (r.RUN_PHASE_WAITING_FOR_INPUT, r.RUN_PHASE_RUNNING):
            yield run.state
            time.sleep(0.1)
        yield run.state

    def CancelRun(self, request, context):
        run = self.find(request, context)
        run.cancelled.set()
        with self.lock:
            if run.state.phase == r.RUN_PHASE_WAITING_FOR_INPUT:
                run.fail(t.ERROR_CODE_PROCESSING_ABORTED, "The run was cancelled.")
        return run.state

    def Download(self, request, context):
        run = self.find(request, context)
        if run.state.phase != r.RUN_PHASE_FINISHED or request.file or request.offset_bytes > len(run.output):
            refuse(context, grpc.StatusCode.INVALID_ARGUMENT, "bad-request", "There is no such file yet.")
        return pieces(run.output, request.offset_bytes)

    def ReleaseRun(self, request, context):
        self.runs.pop(request.run_id, None)
        return r.ReleaseRunReply()


def serve(service, address):
    server = grpc.server(ThreadPoolExecutor(32))
    machines_pb2_grpc.add_MachineServiceServicer_to_server(service, server)
    server.add_insecure_port(address)
    server.start()
    print("ready", flush=True)
    server.wait_for_termination()
