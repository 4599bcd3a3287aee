// Empty: its target has the precompiled header of the test framework, which all test executables share.
