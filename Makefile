# Builds the engine with CMake and copies it to $(EXE), the way test
# frameworks such as OpenBench build an engine ("make EXE=name").
# Tests are not built here; see README.md for the full build.

EXE ?= vorn
BUILD_DIR ?= build-make
JOBS ?= $(shell nproc 2>/dev/null || echo 2)
CMAKE ?= cmake

.PHONY: all clean

all:
	$(CMAKE) -S . -B $(BUILD_DIR) -DCMAKE_BUILD_TYPE=Release -DVORN_TESTS=OFF
	$(CMAKE) --build $(BUILD_DIR) -j $(JOBS) --target vorn
	cp $(BUILD_DIR)/vorn $(EXE)

clean:
	rm -rf $(BUILD_DIR)
