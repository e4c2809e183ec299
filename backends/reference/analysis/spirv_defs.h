// The SPIR-V numbers the model looks at: opcodes, storage classes,
// decorations, built-ins and a few enumerants. Only what is used is listed.
#pragma once

#include <cstdint>

namespace reference::spirv {

constexpr uint32_t MAGIC = 0x07230203;

// Opcodes.
constexpr uint16_t OpUndef = 1;
constexpr uint16_t OpName = 5;
constexpr uint16_t OpLine = 8;
constexpr uint16_t OpExtInstImport = 11;
constexpr uint16_t OpExtInst = 12;
constexpr uint16_t OpMemoryModel = 14;
constexpr uint16_t OpEntryPoint = 15;
constexpr uint16_t OpExecutionMode = 16;
constexpr uint16_t OpTypeVoid = 19;
constexpr uint16_t OpTypeBool = 20;
constexpr uint16_t OpTypeInt = 21;
constexpr uint16_t OpTypeFloat = 22;
constexpr uint16_t OpTypeVector = 23;
constexpr uint16_t OpTypeMatrix = 24;
constexpr uint16_t OpTypeImage = 25;
constexpr uint16_t OpTypeSampledImage = 27;
constexpr uint16_t OpTypeArray = 28;
constexpr uint16_t OpTypeRuntimeArray = 29;
constexpr uint16_t OpTypeStruct = 30;
constexpr uint16_t OpTypePointer = 32;
constexpr uint16_t OpTypeFunction = 33;
constexpr uint16_t OpTypeForwardPointer = 39;
constexpr uint16_t OpConstantTrue = 41;
constexpr uint16_t OpConstant = 43;
constexpr uint16_t OpConstantNull = 46;
constexpr uint16_t OpSpecConstantTrue = 48;
constexpr uint16_t OpSpecConstant = 50;
constexpr uint16_t OpSpecConstantOp = 52;
constexpr uint16_t OpFunction = 54;
constexpr uint16_t OpFunctionParameter = 55;
constexpr uint16_t OpFunctionEnd = 56;
constexpr uint16_t OpFunctionCall = 57;
constexpr uint16_t OpVariable = 59;
constexpr uint16_t OpImageTexelPointer = 60;
constexpr uint16_t OpLoad = 61;
constexpr uint16_t OpStore = 62;
constexpr uint16_t OpCopyMemory = 63;
constexpr uint16_t OpCopyMemorySized = 64;
constexpr uint16_t OpAccessChain = 65;
constexpr uint16_t OpInBoundsAccessChain = 66;
constexpr uint16_t OpPtrAccessChain = 67;
constexpr uint16_t OpArrayLength = 68;
constexpr uint16_t OpInBoundsPtrAccessChain = 70;
constexpr uint16_t OpDecorate = 71;
constexpr uint16_t OpMemberDecorate = 72;
constexpr uint16_t OpVectorExtractDynamic = 77;
constexpr uint16_t OpVectorInsertDynamic = 78;
constexpr uint16_t OpVectorShuffle = 79;
constexpr uint16_t OpCompositeConstruct = 80;
constexpr uint16_t OpCompositeExtract = 81;
constexpr uint16_t OpCompositeInsert = 82;
constexpr uint16_t OpCopyObject = 83;
constexpr uint16_t OpTranspose = 84;
constexpr uint16_t OpSampledImage = 86;
constexpr uint16_t OpImageSampleImplicitLod = 87;
constexpr uint16_t OpImageSampleDrefImplicitLod = 89;
constexpr uint16_t OpImageSampleProjDrefExplicitLod = 94;
constexpr uint16_t OpImageFetch = 95;
constexpr uint16_t OpImageGather = 96;
constexpr uint16_t OpImageDrefGather = 97;
constexpr uint16_t OpImageRead = 98;
constexpr uint16_t OpImageWrite = 99;
constexpr uint16_t OpImage = 100;
constexpr uint16_t OpImageQueryFormat = 101;
constexpr uint16_t OpImageQuerySamples = 107;
constexpr uint16_t OpConvertFToU = 109;
constexpr uint16_t OpConvertUToPtr = 120;
constexpr uint16_t OpPtrCastToGeneric = 121;
constexpr uint16_t OpGenericCastToPtr = 122;
constexpr uint16_t OpGenericCastToPtrExplicit = 123;
constexpr uint16_t OpBitcast = 124;
constexpr uint16_t OpSelect = 169;
constexpr uint16_t OpSNegate = 126;
constexpr uint16_t OpFNegate = 127;
constexpr uint16_t OpIAdd = 128;
constexpr uint16_t OpFAdd = 129;
constexpr uint16_t OpISub = 130;
constexpr uint16_t OpFSub = 131;
constexpr uint16_t OpIMul = 132;
constexpr uint16_t OpFMul = 133;
constexpr uint16_t OpUDiv = 134;
constexpr uint16_t OpSDiv = 135;
constexpr uint16_t OpFDiv = 136;
constexpr uint16_t OpUMod = 137;
constexpr uint16_t OpSRem = 138;
constexpr uint16_t OpSMod = 139;
constexpr uint16_t OpFRem = 140;
constexpr uint16_t OpFMod = 141;
constexpr uint16_t OpVectorTimesScalar = 142;
constexpr uint16_t OpMatrixTimesScalar = 143;
constexpr uint16_t OpVectorTimesMatrix = 144;
constexpr uint16_t OpMatrixTimesVector = 145;
constexpr uint16_t OpMatrixTimesMatrix = 146;
constexpr uint16_t OpOuterProduct = 147;
constexpr uint16_t OpDot = 148;
constexpr uint16_t OpIAddCarry = 149;
constexpr uint16_t OpSMulExtended = 152;
constexpr uint16_t OpAny = 154;
constexpr uint16_t OpAll = 155;
constexpr uint16_t OpIsNan = 156;
constexpr uint16_t OpIEqual = 170;
constexpr uint16_t OpINotEqual = 171;
constexpr uint16_t OpUGreaterThan = 172;
constexpr uint16_t OpSGreaterThan = 173;
constexpr uint16_t OpUGreaterThanEqual = 174;
constexpr uint16_t OpSGreaterThanEqual = 175;
constexpr uint16_t OpULessThan = 176;
constexpr uint16_t OpSLessThan = 177;
constexpr uint16_t OpULessThanEqual = 178;
constexpr uint16_t OpSLessThanEqual = 179;
constexpr uint16_t OpFUnordGreaterThanEqual = 191;
constexpr uint16_t OpShiftRightLogical = 194;
constexpr uint16_t OpShiftLeftLogical = 196;
constexpr uint16_t OpBitwiseOr = 197;
constexpr uint16_t OpNot = 200;
constexpr uint16_t OpBitFieldInsert = 201;
constexpr uint16_t OpBitCount = 205;
constexpr uint16_t OpDPdx = 207;
constexpr uint16_t OpFwidth = 209;
constexpr uint16_t OpFwidthFine = 212;
constexpr uint16_t OpFwidthCoarse = 215;
constexpr uint16_t OpAtomicLoad = 227;
constexpr uint16_t OpAtomicXor = 242;
constexpr uint16_t OpPhi = 245;
constexpr uint16_t OpLoopMerge = 246;
constexpr uint16_t OpSelectionMerge = 247;
constexpr uint16_t OpLabel = 248;
constexpr uint16_t OpBranch = 249;
constexpr uint16_t OpBranchConditional = 250;
constexpr uint16_t OpSwitch = 251;
constexpr uint16_t OpKill = 252;
constexpr uint16_t OpReturn = 253;
constexpr uint16_t OpReturnValue = 254;
constexpr uint16_t OpUnreachable = 255;
constexpr uint16_t OpLifetimeStart = 256;
constexpr uint16_t OpLifetimeStop = 257;
constexpr uint16_t OpGroupAsyncCopy = 259;
constexpr uint16_t OpImageSparseSampleImplicitLod = 305;
constexpr uint16_t OpImageSparseDrefGather = 315;
constexpr uint16_t OpNoLine = 317;
constexpr uint16_t OpAtomicFlagTestAndSet = 318;
constexpr uint16_t OpAtomicFlagClear = 319;
constexpr uint16_t OpImageSparseRead = 320;
constexpr uint16_t OpExecutionModeId = 331;
constexpr uint16_t OpGroupNonUniformElect = 333;
constexpr uint16_t OpGroupNonUniformBallotBitCount = 342;
constexpr uint16_t OpGroupNonUniformIAdd = 349;
constexpr uint16_t OpGroupNonUniformLogicalXor = 364;
constexpr uint16_t OpGroupNonUniformQuadSwap = 366;
constexpr uint16_t OpCopyLogical = 400;
constexpr uint16_t OpColorAttachmentReadEXT = 4160;
constexpr uint16_t OpDepthAttachmentReadEXT = 4161;
constexpr uint16_t OpStencilAttachmentReadEXT = 4162;
constexpr uint16_t OpTerminateInvocation = 4416;
constexpr uint16_t OpGroupNonUniformRotateKHR = 4431;
constexpr uint16_t OpIgnoreIntersectionKHR = 4448;
constexpr uint16_t OpTerminateRayKHR = 4449;
constexpr uint16_t OpSDot = 4450;
constexpr uint16_t OpUDotAccSat = 4454;
constexpr uint16_t OpSUDotAccSat = 4455;
constexpr uint16_t OpEmitMeshTasksEXT = 5294;
constexpr uint16_t OpIgnoreIntersectionNV = 5335;
constexpr uint16_t OpTerminateRayNV = 5336;
constexpr uint16_t OpDemoteToHelperInvocation = 5380;
constexpr uint16_t OpAtomicFMinEXT = 5614;
constexpr uint16_t OpAtomicFMaxEXT = 5615;
constexpr uint16_t OpAtomicFAddEXT = 6035;

// Storage classes.
constexpr uint32_t StorageUniformConstant = 0;
constexpr uint32_t StorageInput = 1;
constexpr uint32_t StorageUniform = 2;
constexpr uint32_t StorageOutput = 3;
constexpr uint32_t StorageWorkgroup = 4;
constexpr uint32_t StorageCrossWorkgroup = 5;
constexpr uint32_t StoragePrivate = 6;
constexpr uint32_t StorageFunction = 7;
constexpr uint32_t StorageGeneric = 8;
constexpr uint32_t StoragePushConstant = 9;
constexpr uint32_t StorageImage = 11;
constexpr uint32_t StorageStorageBuffer = 12;
constexpr uint32_t StorageShaderRecordBuffer = 5343;
constexpr uint32_t StoragePhysicalStorageBuffer = 5349;

// Decorations.
constexpr uint32_t DecorationRelaxedPrecision = 0;
constexpr uint32_t DecorationBlock = 2;
constexpr uint32_t DecorationBufferBlock = 3;
constexpr uint32_t DecorationBuiltIn = 11;
constexpr uint32_t DecorationLocation = 30;

// Built-ins.
constexpr uint32_t BuiltInPosition = 0;
constexpr uint32_t BuiltInPointSize = 1;
constexpr uint32_t BuiltInClipDistance = 3;
constexpr uint32_t BuiltInCullDistance = 4;
constexpr uint32_t BuiltInFragDepth = 22;
constexpr uint32_t BuiltInSampleMask = 20;
constexpr uint32_t BuiltInFragStencilRef = 5014;

// Image dimensions.
constexpr uint32_t Dim3D = 2;
constexpr uint32_t DimCube = 3;
constexpr uint32_t DimSubpassData = 6;

// Image operand bits.
constexpr uint32_t ImageOperandGrad = 0x4;

// Execution models and modes.
constexpr uint32_t ModelVertex = 0;
constexpr uint32_t ModelFragment = 4;
constexpr uint32_t ModelKernel = 6;
constexpr uint32_t ModeEarlyFragmentTests = 9;

// Addressing models.
constexpr uint32_t AddressingPhysical32 = 1;

}  // namespace reference::spirv
