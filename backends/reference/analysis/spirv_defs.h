// The SPIR-V names the model looks at (opcodes, storage classes,
// decorations, built-ins and a few enumerants), spelled as the model spells
// them; every value comes from the official header.
#pragma once

#include <cstdint>

#include <glslang/SPIRV/spirv.hpp>

namespace reference::spirv {

constexpr uint32_t MAGIC = spv::MagicNumber;

// Opcodes.
constexpr uint16_t OpUndef = spv::OpUndef;
constexpr uint16_t OpName = spv::OpName;
constexpr uint16_t OpLine = spv::OpLine;
constexpr uint16_t OpExtInstImport = spv::OpExtInstImport;
constexpr uint16_t OpExtInst = spv::OpExtInst;
constexpr uint16_t OpMemoryModel = spv::OpMemoryModel;
constexpr uint16_t OpEntryPoint = spv::OpEntryPoint;
constexpr uint16_t OpExecutionMode = spv::OpExecutionMode;
constexpr uint16_t OpTypeVoid = spv::OpTypeVoid;
constexpr uint16_t OpTypeBool = spv::OpTypeBool;
constexpr uint16_t OpTypeInt = spv::OpTypeInt;
constexpr uint16_t OpTypeFloat = spv::OpTypeFloat;
constexpr uint16_t OpTypeVector = spv::OpTypeVector;
constexpr uint16_t OpTypeMatrix = spv::OpTypeMatrix;
constexpr uint16_t OpTypeImage = spv::OpTypeImage;
constexpr uint16_t OpTypeSampledImage = spv::OpTypeSampledImage;
constexpr uint16_t OpTypeArray = spv::OpTypeArray;
constexpr uint16_t OpTypeRuntimeArray = spv::OpTypeRuntimeArray;
constexpr uint16_t OpTypeStruct = spv::OpTypeStruct;
constexpr uint16_t OpTypePointer = spv::OpTypePointer;
constexpr uint16_t OpTypeFunction = spv::OpTypeFunction;
constexpr uint16_t OpTypeForwardPointer = spv::OpTypeForwardPointer;
constexpr uint16_t OpConstantTrue = spv::OpConstantTrue;
constexpr uint16_t OpConstant = spv::OpConstant;
constexpr uint16_t OpConstantNull = spv::OpConstantNull;
constexpr uint16_t OpSpecConstantTrue = spv::OpSpecConstantTrue;
constexpr uint16_t OpSpecConstant = spv::OpSpecConstant;
constexpr uint16_t OpSpecConstantOp = spv::OpSpecConstantOp;
constexpr uint16_t OpFunction = spv::OpFunction;
constexpr uint16_t OpFunctionParameter = spv::OpFunctionParameter;
constexpr uint16_t OpFunctionEnd = spv::OpFunctionEnd;
constexpr uint16_t OpFunctionCall = spv::OpFunctionCall;
constexpr uint16_t OpVariable = spv::OpVariable;
constexpr uint16_t OpImageTexelPointer = spv::OpImageTexelPointer;
constexpr uint16_t OpLoad = spv::OpLoad;
constexpr uint16_t OpStore = spv::OpStore;
constexpr uint16_t OpCopyMemory = spv::OpCopyMemory;
constexpr uint16_t OpCopyMemorySized = spv::OpCopyMemorySized;
constexpr uint16_t OpAccessChain = spv::OpAccessChain;
constexpr uint16_t OpInBoundsAccessChain = spv::OpInBoundsAccessChain;
constexpr uint16_t OpPtrAccessChain = spv::OpPtrAccessChain;
constexpr uint16_t OpArrayLength = spv::OpArrayLength;
constexpr uint16_t OpInBoundsPtrAccessChain = spv::OpInBoundsPtrAccessChain;
constexpr uint16_t OpDecorate = spv::OpDecorate;
constexpr uint16_t OpMemberDecorate = spv::OpMemberDecorate;
constexpr uint16_t OpVectorExtractDynamic = spv::OpVectorExtractDynamic;
constexpr uint16_t OpVectorInsertDynamic = spv::OpVectorInsertDynamic;
constexpr uint16_t OpVectorShuffle = spv::OpVectorShuffle;
constexpr uint16_t OpCompositeConstruct = spv::OpCompositeConstruct;
constexpr uint16_t OpCompositeExtract = spv::OpCompositeExtract;
constexpr uint16_t OpCompositeInsert = spv::OpCompositeInsert;
constexpr uint16_t OpCopyObject = spv::OpCopyObject;
constexpr uint16_t OpTranspose = spv::OpTranspose;
constexpr uint16_t OpSampledImage = spv::OpSampledImage;
constexpr uint16_t OpImageSampleImplicitLod = spv::OpImageSampleImplicitLod;
constexpr uint16_t OpImageSampleDrefImplicitLod = spv::OpImageSampleDrefImplicitLod;
constexpr uint16_t OpImageSampleProjDrefExplicitLod = spv::OpImageSampleProjDrefExplicitLod;
constexpr uint16_t OpImageFetch = spv::OpImageFetch;
constexpr uint16_t OpImageGather = spv::OpImageGather;
constexpr uint16_t OpImageDrefGather = spv::OpImageDrefGather;
constexpr uint16_t OpImageRead = spv::OpImageRead;
constexpr uint16_t OpImageWrite = spv::OpImageWrite;
constexpr uint16_t OpImage = spv::OpImage;
constexpr uint16_t OpImageQueryFormat = spv::OpImageQueryFormat;
constexpr uint16_t OpImageQuerySamples = spv::OpImageQuerySamples;
constexpr uint16_t OpConvertFToU = spv::OpConvertFToU;
constexpr uint16_t OpConvertUToPtr = spv::OpConvertUToPtr;
constexpr uint16_t OpPtrCastToGeneric = spv::OpPtrCastToGeneric;
constexpr uint16_t OpGenericCastToPtr = spv::OpGenericCastToPtr;
constexpr uint16_t OpGenericCastToPtrExplicit = spv::OpGenericCastToPtrExplicit;
constexpr uint16_t OpBitcast = spv::OpBitcast;
constexpr uint16_t OpSelect = spv::OpSelect;
constexpr uint16_t OpSNegate = spv::OpSNegate;
constexpr uint16_t OpFNegate = spv::OpFNegate;
constexpr uint16_t OpIAdd = spv::OpIAdd;
constexpr uint16_t OpFAdd = spv::OpFAdd;
constexpr uint16_t OpISub = spv::OpISub;
constexpr uint16_t OpFSub = spv::OpFSub;
constexpr uint16_t OpIMul = spv::OpIMul;
constexpr uint16_t OpFMul = spv::OpFMul;
constexpr uint16_t OpUDiv = spv::OpUDiv;
constexpr uint16_t OpSDiv = spv::OpSDiv;
constexpr uint16_t OpFDiv = spv::OpFDiv;
constexpr uint16_t OpUMod = spv::OpUMod;
constexpr uint16_t OpSRem = spv::OpSRem;
constexpr uint16_t OpSMod = spv::OpSMod;
constexpr uint16_t OpFRem = spv::OpFRem;
constexpr uint16_t OpFMod = spv::OpFMod;
constexpr uint16_t OpVectorTimesScalar = spv::OpVectorTimesScalar;
constexpr uint16_t OpMatrixTimesScalar = spv::OpMatrixTimesScalar;
constexpr uint16_t OpVectorTimesMatrix = spv::OpVectorTimesMatrix;
constexpr uint16_t OpMatrixTimesVector = spv::OpMatrixTimesVector;
constexpr uint16_t OpMatrixTimesMatrix = spv::OpMatrixTimesMatrix;
constexpr uint16_t OpOuterProduct = spv::OpOuterProduct;
constexpr uint16_t OpDot = spv::OpDot;
constexpr uint16_t OpIAddCarry = spv::OpIAddCarry;
constexpr uint16_t OpSMulExtended = spv::OpSMulExtended;
constexpr uint16_t OpAny = spv::OpAny;
constexpr uint16_t OpAll = spv::OpAll;
constexpr uint16_t OpIsNan = spv::OpIsNan;
constexpr uint16_t OpIEqual = spv::OpIEqual;
constexpr uint16_t OpINotEqual = spv::OpINotEqual;
constexpr uint16_t OpUGreaterThan = spv::OpUGreaterThan;
constexpr uint16_t OpSGreaterThan = spv::OpSGreaterThan;
constexpr uint16_t OpUGreaterThanEqual = spv::OpUGreaterThanEqual;
constexpr uint16_t OpSGreaterThanEqual = spv::OpSGreaterThanEqual;
constexpr uint16_t OpULessThan = spv::OpULessThan;
constexpr uint16_t OpSLessThan = spv::OpSLessThan;
constexpr uint16_t OpULessThanEqual = spv::OpULessThanEqual;
constexpr uint16_t OpSLessThanEqual = spv::OpSLessThanEqual;
constexpr uint16_t OpFUnordGreaterThanEqual = spv::OpFUnordGreaterThanEqual;
constexpr uint16_t OpShiftRightLogical = spv::OpShiftRightLogical;
constexpr uint16_t OpShiftLeftLogical = spv::OpShiftLeftLogical;
constexpr uint16_t OpBitwiseOr = spv::OpBitwiseOr;
constexpr uint16_t OpNot = spv::OpNot;
constexpr uint16_t OpBitFieldInsert = spv::OpBitFieldInsert;
constexpr uint16_t OpBitCount = spv::OpBitCount;
constexpr uint16_t OpDPdx = spv::OpDPdx;
constexpr uint16_t OpFwidth = spv::OpFwidth;
constexpr uint16_t OpFwidthFine = spv::OpFwidthFine;
constexpr uint16_t OpFwidthCoarse = spv::OpFwidthCoarse;
constexpr uint16_t OpAtomicLoad = spv::OpAtomicLoad;
constexpr uint16_t OpAtomicXor = spv::OpAtomicXor;
constexpr uint16_t OpPhi = spv::OpPhi;
constexpr uint16_t OpLoopMerge = spv::OpLoopMerge;
constexpr uint16_t OpSelectionMerge = spv::OpSelectionMerge;
constexpr uint16_t OpLabel = spv::OpLabel;
constexpr uint16_t OpBranch = spv::OpBranch;
constexpr uint16_t OpBranchConditional = spv::OpBranchConditional;
constexpr uint16_t OpSwitch = spv::OpSwitch;
constexpr uint16_t OpKill = spv::OpKill;
constexpr uint16_t OpReturn = spv::OpReturn;
constexpr uint16_t OpReturnValue = spv::OpReturnValue;
constexpr uint16_t OpUnreachable = spv::OpUnreachable;
constexpr uint16_t OpLifetimeStart = spv::OpLifetimeStart;
constexpr uint16_t OpLifetimeStop = spv::OpLifetimeStop;
constexpr uint16_t OpGroupAsyncCopy = spv::OpGroupAsyncCopy;
constexpr uint16_t OpImageSparseSampleImplicitLod = spv::OpImageSparseSampleImplicitLod;
constexpr uint16_t OpImageSparseDrefGather = spv::OpImageSparseDrefGather;
constexpr uint16_t OpNoLine = spv::OpNoLine;
constexpr uint16_t OpAtomicFlagTestAndSet = spv::OpAtomicFlagTestAndSet;
constexpr uint16_t OpAtomicFlagClear = spv::OpAtomicFlagClear;
constexpr uint16_t OpImageSparseRead = spv::OpImageSparseRead;
constexpr uint16_t OpExecutionModeId = spv::OpExecutionModeId;
constexpr uint16_t OpGroupNonUniformElect = spv::OpGroupNonUniformElect;
constexpr uint16_t OpGroupNonUniformBallotBitCount = spv::OpGroupNonUniformBallotBitCount;
constexpr uint16_t OpGroupNonUniformIAdd = spv::OpGroupNonUniformIAdd;
constexpr uint16_t OpGroupNonUniformLogicalXor = spv::OpGroupNonUniformLogicalXor;
constexpr uint16_t OpGroupNonUniformQuadSwap = spv::OpGroupNonUniformQuadSwap;
constexpr uint16_t OpCopyLogical = spv::OpCopyLogical;
constexpr uint16_t OpColorAttachmentReadEXT = spv::OpColorAttachmentReadEXT;
constexpr uint16_t OpDepthAttachmentReadEXT = spv::OpDepthAttachmentReadEXT;
constexpr uint16_t OpStencilAttachmentReadEXT = spv::OpStencilAttachmentReadEXT;
constexpr uint16_t OpTerminateInvocation = spv::OpTerminateInvocation;
constexpr uint16_t OpGroupNonUniformRotateKHR = spv::OpGroupNonUniformRotateKHR;
constexpr uint16_t OpIgnoreIntersectionKHR = spv::OpIgnoreIntersectionKHR;
constexpr uint16_t OpTerminateRayKHR = spv::OpTerminateRayKHR;
constexpr uint16_t OpSDot = spv::OpSDot;
constexpr uint16_t OpUDotAccSat = spv::OpUDotAccSat;
constexpr uint16_t OpSUDotAccSat = spv::OpSUDotAccSat;
constexpr uint16_t OpEmitMeshTasksEXT = spv::OpEmitMeshTasksEXT;
constexpr uint16_t OpIgnoreIntersectionNV = spv::OpIgnoreIntersectionNV;
constexpr uint16_t OpTerminateRayNV = spv::OpTerminateRayNV;
constexpr uint16_t OpDemoteToHelperInvocation = spv::OpDemoteToHelperInvocation;
constexpr uint16_t OpAtomicFMinEXT = spv::OpAtomicFMinEXT;
constexpr uint16_t OpAtomicFMaxEXT = spv::OpAtomicFMaxEXT;
constexpr uint16_t OpAtomicFAddEXT = spv::OpAtomicFAddEXT;

// Opcodes named where the model tells neighbours apart.
constexpr uint16_t OpQuantizeToF16 = spv::OpQuantizeToF16;
constexpr uint16_t OpSatConvertSToU = spv::OpSatConvertSToU;
constexpr uint16_t OpSatConvertUToS = spv::OpSatConvertUToS;
constexpr uint16_t OpISubBorrow = spv::OpISubBorrow;
constexpr uint16_t OpUMulExtended = spv::OpUMulExtended;
constexpr uint16_t OpImageSampleExplicitLod = spv::OpImageSampleExplicitLod;
constexpr uint16_t OpImageSampleProjImplicitLod = spv::OpImageSampleProjImplicitLod;
constexpr uint16_t OpImageSampleProjExplicitLod = spv::OpImageSampleProjExplicitLod;
constexpr uint16_t OpImageSampleDrefExplicitLod = spv::OpImageSampleDrefExplicitLod;
constexpr uint16_t OpImageSampleProjDrefImplicitLod = spv::OpImageSampleProjDrefImplicitLod;
constexpr uint16_t OpImageSparseSampleExplicitLod = spv::OpImageSparseSampleExplicitLod;
constexpr uint16_t OpImageSparseSampleDrefImplicitLod = spv::OpImageSparseSampleDrefImplicitLod;
constexpr uint16_t OpImageSparseSampleDrefExplicitLod = spv::OpImageSparseSampleDrefExplicitLod;
constexpr uint16_t OpImageSparseSampleProjImplicitLod = spv::OpImageSparseSampleProjImplicitLod;
constexpr uint16_t OpImageSparseSampleProjExplicitLod = spv::OpImageSparseSampleProjExplicitLod;
constexpr uint16_t OpImageSparseSampleProjDrefImplicitLod = spv::OpImageSparseSampleProjDrefImplicitLod;
constexpr uint16_t OpImageSparseSampleProjDrefExplicitLod = spv::OpImageSparseSampleProjDrefExplicitLod;
constexpr uint16_t OpImageSparseFetch = spv::OpImageSparseFetch;
constexpr uint16_t OpImageSparseGather = spv::OpImageSparseGather;
constexpr uint16_t OpConvertPtrToU = spv::OpConvertPtrToU;

// Storage classes.
constexpr uint32_t StorageUniformConstant = spv::StorageClassUniformConstant;
constexpr uint32_t StorageInput = spv::StorageClassInput;
constexpr uint32_t StorageUniform = spv::StorageClassUniform;
constexpr uint32_t StorageOutput = spv::StorageClassOutput;
constexpr uint32_t StorageWorkgroup = spv::StorageClassWorkgroup;
constexpr uint32_t StorageCrossWorkgroup = spv::StorageClassCrossWorkgroup;
constexpr uint32_t StoragePrivate = spv::StorageClassPrivate;
constexpr uint32_t StorageFunction = spv::StorageClassFunction;
constexpr uint32_t StorageGeneric = spv::StorageClassGeneric;
constexpr uint32_t StoragePushConstant = spv::StorageClassPushConstant;
constexpr uint32_t StorageImage = spv::StorageClassImage;
constexpr uint32_t StorageStorageBuffer = spv::StorageClassStorageBuffer;
constexpr uint32_t StorageShaderRecordBuffer = spv::StorageClassShaderRecordBufferKHR;
constexpr uint32_t StoragePhysicalStorageBuffer = spv::StorageClassPhysicalStorageBuffer;

// Decorations.
constexpr uint32_t DecorationRelaxedPrecision = spv::DecorationRelaxedPrecision;
constexpr uint32_t DecorationBlock = spv::DecorationBlock;
constexpr uint32_t DecorationBufferBlock = spv::DecorationBufferBlock;
constexpr uint32_t DecorationBuiltIn = spv::DecorationBuiltIn;
constexpr uint32_t DecorationLocation = spv::DecorationLocation;

// Built-ins.
constexpr uint32_t BuiltInPosition = spv::BuiltInPosition;
constexpr uint32_t BuiltInPointSize = spv::BuiltInPointSize;
constexpr uint32_t BuiltInClipDistance = spv::BuiltInClipDistance;
constexpr uint32_t BuiltInCullDistance = spv::BuiltInCullDistance;
constexpr uint32_t BuiltInFragDepth = spv::BuiltInFragDepth;
constexpr uint32_t BuiltInSampleMask = spv::BuiltInSampleMask;
constexpr uint32_t BuiltInFragStencilRef = spv::BuiltInFragStencilRefEXT;

// Image dimensions.
constexpr uint32_t Dim3D = spv::Dim3D;
constexpr uint32_t DimCube = spv::DimCube;
constexpr uint32_t DimSubpassData = spv::DimSubpassData;

// Image operand bits.
constexpr uint32_t ImageOperandGrad = spv::ImageOperandsGradMask;

// Execution models and modes.
constexpr uint32_t ModelVertex = spv::ExecutionModelVertex;
constexpr uint32_t ModelFragment = spv::ExecutionModelFragment;
constexpr uint32_t ModelKernel = spv::ExecutionModelKernel;
constexpr uint32_t ModeEarlyFragmentTests = spv::ExecutionModeEarlyFragmentTests;

// Addressing models.
constexpr uint32_t AddressingPhysical32 = spv::AddressingModelPhysical32;

}  // namespace reference::spirv
