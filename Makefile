# The two commands: `make demo` runs the sample host under Wine, `make test` runs every
# test. Both install what is missing first. `make bench` and `make fuzz` are run by hand.
NATIVE := build/native
WIN32  := build/win32
BENCH  := build/bench
JOBS   ?= $(shell nproc)

.PHONY: demo test bench fuzz setup native win32 clean

setup:
	@tools/setup.sh

native: setup
	@[ -f $(NATIVE)/build.ninja ] || CC=clang CXX=clang++ cmake -S . -B $(NATIVE) -G Ninja
	cmake --build $(NATIVE) -j $(JOBS)

win32: setup
	@[ -f $(WIN32)/build.ninja ] || cmake -S . -B $(WIN32) -G Ninja \
	    -DCMAKE_TOOLCHAIN_FILE=cmake/mingw-i686.cmake -DCMAKE_BUILD_TYPE=Release
	cmake --build $(WIN32) -j $(JOBS)

demo: win32
	tools/wine-run.sh $(WIN32)/sample_host.exe build/demo

test: native win32
	cd $(NATIVE) && ctest --output-on-failure -j $(JOBS)
	cd $(WIN32) && ctest --output-on-failure -j $(JOBS)

bench: win32
	@[ -f $(BENCH)/build.ninja ] || cmake -S . -B $(BENCH) -G Ninja -DMK_BENCH=ON
	cmake --build $(BENCH) -j $(JOBS)
	bench/run.sh $(BENCH)
	tools/wine-run.sh $(WIN32)/dll_bench.exe

fuzz: native
	fuzz/run.sh $(NATIVE) $${FUZZ_SECONDS:-600}

clean:
	rm -rf build
