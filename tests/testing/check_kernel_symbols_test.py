"""Symbols of object files that the linker would merge with others, and those that it would not."""

import pathlib
import sys
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "testing"))
import check_kernel_symbols  # noqa: E402

OWN = """0000000000000000 W _ZN4norv8internal4avx27projectEv
0000000000000000 V _ZZN4norv8internal4avx27projectEvE1x
0000000000000000 D _ZN4norv8internal12kAvx2KernelsE
0000000000000010 t _ZN4norv8internal5otherEv
                 U _ZN4norv8internal6calledEv
                 w __gmon_start__
0000000000000000 V DW.ref.__gxx_personality_v0
0000000000000000 r .LC0
0000000000000000 V _ZTIFvPKfS0_mPsPtE
0000000000000000 V _ZTSFvPKfS0_mPsPtE
"""


class CheckKernelSymbols(unittest.TestCase):
    def test_what_no_other_file_has(self):
        self.assertEqual(check_kernel_symbols.shared_symbols("avx2", OWN), [])

    def test_what_others_may_have(self):
        for kind in "WVu":
            line = f"0000000000000000 {kind} _ZN4norv6squareEd\n"
            self.assertEqual(check_kernel_symbols.shared_symbols("avx2", OWN + line), ["_ZN4norv6squareEd"])

    def test_the_kernels_of_another_processor(self):
        self.assertEqual(len(check_kernel_symbols.shared_symbols("avx512", OWN)), 2)

    def test_that_there_are_kernels(self):
        self.assertEqual(check_kernel_symbols.check("nm", ["a/other.cpp.o"]), ["no object file of kernels"])


if __name__ == "__main__":
    unittest.main()
