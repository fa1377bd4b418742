#include <oprj/omif.h>
