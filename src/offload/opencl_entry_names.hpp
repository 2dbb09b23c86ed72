// The OpenCL entry points whose presence proves a complete OpenCL library, in the order in which
// they are resolved.
#pragma once

// clang-format off
#define TESSEL_OPENCL_ENTRY_NAMES(X)                                                               \
  X(clGetSupportedImageFormats) X(clGetKernelInfo) X(clCompileProgram)                             \
  X(clUnloadPlatformCompiler) X(clGetPlatformIDs) X(clEnqueueBarrierWithWaitList)                  \
  X(clEnqueueMapBuffer) X(clEnqueueWriteBufferRect) X(clGetKernelArgInfo)                          \
  X(clReleaseCommandQueue) X(clEnqueueCopyImageToBuffer) X(clGetContextInfo)                       \
  X(clRetainCommandQueue) X(clEnqueueWriteImage) X(clEnqueueSVMUnmap)                              \
  X(clCreateProgramWithBinary) X(clReleaseSampler) X(clGetDeviceIDs)                               \
  X(clCreateCommandQueueWithProperties) X(clReleaseContext) X(clEnqueueUnmapMemObject)             \
  X(clCreateContext) X(clGetHostTimer) X(clSetEventCallback) X(clEnqueueCopyBuffer)                \
  X(clRetainContext) X(clCreateContextFromType) X(clRetainProgram) X(clEnqueueCopyImage)           \
  X(clCreateProgramWithSource) X(clGetMemObjectInfo) X(clLinkProgram)                              \
  X(clCreateSamplerWithProperties) X(clRetainSampler) X(clEnqueueMapImage)                         \
  X(clEnqueueWriteBuffer) X(clRetainKernel) X(clEnqueueReadBufferRect) X(clCreateSubDevices)       \
  X(clGetDeviceAndHostTimer) X(clFinish) X(clGetEventInfo) X(clGetEventProfilingInfo)              \
  X(clSetKernelArgSVMPointer) X(clCreateImage) X(clEnqueueSVMMemcpy) X(clReleaseKernel)            \
  X(clEnqueueNativeKernel) X(clCreateKernelsInProgram) X(clGetDeviceInfo)                          \
  X(clEnqueueNDRangeKernel) X(clReleaseProgram) X(clSetDefaultDeviceCommandQueue) X(clCreatePipe)  \
  X(clGetPlatformInfo) X(clEnqueueReadBuffer) X(clSetMemObjectDestructorCallback)                  \
  X(clGetKernelSubGroupInfo) X(clEnqueueCopyBufferRect) X(clWaitForEvents)                         \
  X(clEnqueueSVMMigrateMem) X(clReleaseMemObject) X(clCreateProgramWithBuiltInKernels)             \
  X(clCreateBuffer) X(clGetProgramBuildInfo) X(clEnqueueFillBuffer) X(clEnqueueReadImage)          \
  X(clEnqueueCopyBufferToImage) X(clGetExtensionFunctionAddressForPlatform) X(clSetKernelArg)      \
  X(clReleaseDevice) X(clCreateSubBuffer) X(clEnqueueFillImage) X(clGetPipeInfo)                   \
  X(clEnqueueSVMMemFill) X(clEnqueueSVMFree) X(clEnqueueMigrateMemObjects)                         \
  X(clGetCommandQueueInfo) X(clBuildProgram) X(clGetKernelWorkGroupInfo) X(clReleaseEvent)         \
  X(clRetainDevice) X(clEnqueueSVMMap) X(clRetainMemObject) X(clSetUserEventStatus)                \
  X(clCreateUserEvent) X(clGetSamplerInfo) X(clSetKernelExecInfo) X(clCreateKernel)                \
  X(clGetProgramInfo) X(clSVMAlloc) X(clRetainEvent) X(clCloneKernel) X(clGetImageInfo)            \
  X(clFlush) X(clEnqueueMarkerWithWaitList) X(clCreateProgramWithIL) X(clSVMFree)
// clang-format on
