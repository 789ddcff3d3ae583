# Builds the engine with CMake and copies it to $(EXE), the way test
# frameworks such as OpenBench build an engine ("make EXE=name").
# Tests are not built here; see README.md for the full build.
# "make deb" builds the Debian package (see docs/packaging.md).

EXE ?= vorn
BUILD_DIR ?= build-make
DEB_BUILD_DIR ?= build-deb
JOBS ?= $(shell nproc 2>/dev/null || echo 2)
CMAKE ?= cmake

.PHONY: all deb clean

all:
	$(CMAKE) -S . -B $(BUILD_DIR) -DCMAKE_BUILD_TYPE=Release -DVORN_TESTS=OFF
	$(CMAKE) --build $(BUILD_DIR) -j $(JOBS) --target vorn
	cp $(BUILD_DIR)/vorn $(EXE)

# The package is built for the portable x86-64 baseline, whatever the
# options of other build folders.
deb:
	$(CMAKE) -S . -B $(DEB_BUILD_DIR) -DCMAKE_BUILD_TYPE=Release -DVORN_TESTS=OFF \
		-DVORN_NATIVE=OFF -DVORN_SANITIZE= -DCMAKE_SKIP_INSTALL_ALL_DEPENDENCY=ON
	$(CMAKE) --build $(DEB_BUILD_DIR) -j $(JOBS) --target vorn
	cd $(DEB_BUILD_DIR) && cpack -G DEB
	cp $(DEB_BUILD_DIR)/vorn_*.deb .

clean:
	rm -rf $(BUILD_DIR) $(DEB_BUILD_DIR)
