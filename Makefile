# Build entry points. Both targets install what is missing first, so they work on a
# fresh Debian machine as root.
BUILD ?= build
JOBS ?= $(shell nproc)
PACKAGES := cmake g++ make pkg-config zlib1g-dev libxxhash-dev libglm-dev libgtest-dev libgmock-dev libbenchmark-dev glslc libpng-dev

.PHONY: deps configure build run preview test bench clean

deps:
	@missing=""; \
	for p in $(PACKAGES); do dpkg-query -W -f='$${Status}' $$p 2>/dev/null | grep -q "ok installed" || missing="$$missing $$p"; done; \
	if [ -n "$$missing" ]; then \
		echo "Installing:$$missing"; \
		apt-get update -qq && DEBIAN_FRONTEND=noninteractive apt-get install -y -qq $$missing; \
	fi

# The benchmarks have a build folder of their own (make bench), so that tests and the tool
# build without them.
configure: deps
	cmake -S . -B $(BUILD) -DCMAKE_BUILD_TYPE=Release -DBRELK_BUILD_BENCH=OFF

build: configure
	cmake --build $(BUILD) -j $(JOBS)

run: configure
	cmake --build $(BUILD) -j $(JOBS) --target brelk-worldgen
	./$(BUILD)/tools/worldgen/brelk-worldgen --content Content

# The README's picture: the default world as brelk-worldview draws it, one pixel per sample.
preview: configure
	cmake --build $(BUILD) -j $(JOBS) --target brelk-worldgen brelk-worldview
	./$(BUILD)/tools/worldgen/brelk-worldgen --content Content
	./$(BUILD)/tools/worldview/brelk-worldview --world Content/Worlds/Procedural.bworld --png docs/worldview.png --scale 1

test: build
	cd $(BUILD) && ctest --output-on-failure -j $(JOBS)

bench: deps
	cmake -S . -B $(BUILD)-bench -DCMAKE_BUILD_TYPE=Release -DBRELK_BUILD_BENCH=ON -DBRELK_BUILD_TESTS=OFF
	cmake --build $(BUILD)-bench -j $(JOBS)

clean:
	rm -rf $(BUILD) $(BUILD)-bench
