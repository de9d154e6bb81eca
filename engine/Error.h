// The engine's status codes and their texts.
#pragma once

namespace zk::engine {

// Soft results.
constexpr int kOk = 0;
constexpr int kNextGreater = 2;
constexpr int kEndOfFile = 3;
constexpr int kBeginningOfFile = 4;
constexpr int kLocked = 50;
constexpr int kNoTag = 80;

// Errors.
constexpr int kErrClosing = -10;
constexpr int kErrCreating = -20;
constexpr int kErrDeterminingLength = -30;
constexpr int kErrLocking = -50;
constexpr int kErrOpening = -60;
constexpr int kErrReading = -70;
constexpr int kErrRenaming = -90;
constexpr int kErrUnlocking = -110;
constexpr int kErrWriting = -120;
constexpr int kErrNotATable = -200;
constexpr int kErrFieldName = -210;
constexpr int kErrRecordLength = -230;
constexpr int kErrIndex = -310;
constexpr int kErrTagName = -330;
constexpr int kErrUnique = -340;
constexpr int kErrCommaOrBracket = -400;
constexpr int kErrNotComplete = -410;
constexpr int kErrAlias = -420;
constexpr int kErrIifLength = -422;
constexpr int kErrNotConstant = -425;
constexpr int kErrParameterCount = -430;
constexpr int kErrOverflow = -440;
constexpr int kErrRightBracket = -450;
constexpr int kErrSubexpressionType = -460;
constexpr int kErrFunction = -470;
constexpr int kErrOperator = -480;
constexpr int kErrValue = -490;
constexpr int kErrUnterminatedText = -500;
constexpr int kErrUnexpectedInformation = -910;
constexpr int kErrMemory = -920;
constexpr int kErrParameter = -930;
constexpr int kErrUnexpectedResult = -950;
constexpr int kErrNoIndexSupport = -1010;

// The text of a code, "" for one that has none. Never null.
const char *errorText(int code) noexcept;

}  // namespace zk::engine
