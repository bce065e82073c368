# What the service contract over a wire needs beyond the rest; tools/setup does not install it.
pkg_check_modules(MACHINESERVICE_GRPC REQUIRED IMPORTED_TARGET grpc++>=1.51 protobuf-lite)
find_program(MACHINESERVICE_PROTOC protoc REQUIRED)
find_program(MACHINESERVICE_GRPC_PLUGIN grpc_cpp_plugin REQUIRED)
