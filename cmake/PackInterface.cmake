# cmake -D INPUT=... -D OUTPUT=... -P PackInterface.cmake: an interface file without what its reader
# skips.

file(READ ${INPUT} text)
string(REGEX REPLACE "<customwidgets>.*</customwidgets>" "" text "${text}")
string(REGEX REPLACE ">[ \n]+<" "><" text "${text}")
file(WRITE ${OUTPUT} "${text}")
