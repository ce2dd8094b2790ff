# GoogleTest, for the program's and the engine's tests. Static, with
# Windows threads (its own choice on Windows), so the test programs need no
# GoogleTest DLL beside them.
SOURCE=googletest
DEPS=""
build() {
  cmake_build -DBUILD_SHARED_LIBS=OFF -DBUILD_GMOCK=ON -Dgtest_disable_pthreads=ON -DINSTALL_GTEST=ON
}
