#pragma once

// The whole library.

#include "KelvaneSDK/ArrayVariables.h"
#include "KelvaneSDK/ConstantNode.h"
#include "KelvaneSDK/ContainerNode/ContainerNode.h"
#include "KelvaneSDK/Diagnostics.h"
#include "KelvaneSDK/DiagramCheck/DiagramCheck.h"
#include "KelvaneSDK/DiagramData.h"
#include "KelvaneSDK/FileProcessing/InputRecording.h"
#include "KelvaneSDK/FileProcessing/JsonWriter.h"
#include "KelvaneSDK/FileProcessing/NumberText.h"
#include "KelvaneSDK/FileProcessing/ValueParsing.h"
#include "KelvaneSDK/FileProcessing/ValueText.h"
#include "KelvaneSDK/FunctionNode.h"
#include "KelvaneSDK/FunctionRows.h"
#include "KelvaneSDK/InputStreamNode.h"
#include "KelvaneSDK/Kelvane.h"
#include "KelvaneSDK/ScalarVariables.h"
#include "KelvaneSDK/SequenceValue.h"
#include "KelvaneSDK/VariableOutputNode.h"
