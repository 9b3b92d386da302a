#pragma once

// The whole library; Kelvane/Kelvane.h is its centre.

#include "KelvaneSDK/DiagramCheck/DiagramCheck.h"
#include "KelvaneSDK/DocumentEditing/DiagramRewriting.h"
#include "KelvaneSDK/FileProcessing/InputRecording.h"
#include "KelvaneSDK/FileProcessing/JsonWriter.h"
#include "KelvaneSDK/FunctionRows.h"
#include "KelvaneSDK/Kelvane/Kelvane.h"
#include "KelvaneSDK/TextForm/TextForm.h"
