// The one source of the targets that hold the shared precompiled headers (SorvaneCompiler.cmake):
// a target needs a source to compile its header with.
