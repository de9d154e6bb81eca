# The everyday commands; they install the packages that they miss.
.PHONY: build demo test windows test-windows bench fuzz docs format clean

build:
	scripts/install-deps.sh build
	cmake --preset release -DBUILD_TESTING=OFF -DZK_BUILD_BENCH=OFF
	cmake --build --preset release

demo:
	scripts/install-deps.sh build
	cmake --preset release -B build/demo -DBUILD_TESTING=OFF -DZK_BUILD_BENCH=OFF
	cmake --build build/demo --target plant_demo
	build/demo/examples/plant/plant_demo build/demo

test:
	scripts/install-deps.sh build test
	cmake --preset sanitize
	cmake --build --preset sanitize
	ctest --preset sanitize --parallel 2

windows:
	scripts/install-deps.sh build windows
	scripts/fetch-libcsv.sh build/libcsv
	cmake --preset windows
	cmake --build --preset windows

test-windows: windows
	scripts/install-wine.sh
	scripts/run-windows.sh wineboot --init
	ctest --preset windows --parallel 2

bench:
	scripts/install-deps.sh build bench
	cmake --preset release -B build/bench -DBUILD_TESTING=OFF
	cmake --build build/bench --target bench

fuzz:
	scripts/install-deps.sh build fuzz
	CC=clang CXX=clang++ cmake --preset sanitize -B build/fuzz -DBUILD_TESTING=OFF \
	  -DZK_BUILD_TOOL=OFF -DZK_BUILD_EXAMPLES=OFF -DZK_BUILD_FUZZ=ON
	cmake --build build/fuzz --target fuzz

docs:
	scripts/install-deps.sh docs
	mkdir -p build/docs
	ZK_VERSION=$$(sed -n 's/^project(zk_baselib VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt) \
	  doxygen docs/Doxyfile

format:
	git ls-files --cached --others --exclude-standard '*.c' '*.cpp' '*.h' | xargs clang-format -i

clean:
	rm -rf build
