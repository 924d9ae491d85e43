#pragma once

// Small system utilities of the core library.
