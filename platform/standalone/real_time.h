// Preparation of the process and its task threads for real time.
#pragma once
