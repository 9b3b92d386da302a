#pragma once

// The whole library. What an application includes where it needs less:
//
//     Kelvane/Kelvane.h                 the engine: load a diagram, evaluate batches, take results
//     Kelvane/LabelledValues.h          what goes into the engine, and what comes out of it
//     Observation/RunTally.h            what nodes do in each batch, and why they stay silent
//     Value.h                           the values themselves
//     Diagnostics.h                     messages, stops, and limits for diagrams from elsewhere
//     DiagramCheck/DiagramCheck.h       what is wrong in a document, without an engine
//     DiagramData.h                     a document as records, to read and to write
//     TextForm/TextForm.h               a document in a form for people to write
//     DocumentEditing/DiagramRewriting.h a document edited as it stands, other bytes kept
//     FileProcessing/InputRecording.h   recordings of batches: JSON, one update a line
//     FileProcessing/JsonWriter.h       JSON for what an application reports
//     Testing/ResultComparison.h        results beside those that a test expects
//     FunctionRows.h, FunctionNode.h    functions of an application's own, as rows and as classes
//     NodeClass.h                       what a class says about itself, and the classes that there are
//     Node.h, TimestampedVariable.h     the nodes of a diagram and their value slots
//
// What stands in Inline/ comes with these and is nothing to include, or to rely on.
//
// Throughout: times are seconds, as doubles, on the application's own axis. Texts are UTF-8, std::string_view
// parameters are read during the call only, and returned views say how long they are good. Indices count from
// 0. Functions that may fail return an absent or false result and print a diagnostic line, unless they say
// otherwise; "stops the program" is what Diagnostics.h lets an engine turn into a failed call. Objects are
// used by one thread at a time, values excepted, unless they say otherwise.

#include "KelvaneSDK/DocumentEditing/DiagramRewriting.h"
#include "KelvaneSDK/FileProcessing/InputRecording.h"
#include "KelvaneSDK/FileProcessing/JsonWriter.h"
#include "KelvaneSDK/FunctionRows.h"
#include "KelvaneSDK/Kelvane/Kelvane.h"
#include "KelvaneSDK/Observation/RunTally.h"
#include "KelvaneSDK/Testing/ResultComparison.h"
#include "KelvaneSDK/TextForm/TextForm.h"
