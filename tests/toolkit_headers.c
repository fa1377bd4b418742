/* The toolkit from C11: every public header compiles, and designs are made with a C compiler's idea
   of a variable argument list. */
#include <oprj/ocvt.h>
#include <oprj/odll.h>
#include <oprj/oerr.h>
#include <oprj/ofio.h>
#include <oprj/ohfa.h>
#include <oprj/oint.h>
#include <oprj/olex.h>
#include <oprj/omif.h>
#include <oprj/omif_object.h>
#include <oprj/omsc.h>
#include <oprj/ostr.h>
#include <oprj/othr.h>

char *designTextMadeInC(void);

/* The text of a dictionary with every item kind of omif_DesignCreate; null on failure. */
char *designTextMadeInC(void) {
  char *text = NULL;
  Omif_Dictionary *dictionary = omif_NewDictionary(NULL);
  Omif_Design *inner = omif_DesignCreate(NULL, "Inner", NULL, OMIF_DOUBLE, "x", OMIF_END);
  if (inner && omif_DesignCreate(dictionary, "Target", NULL, OMIF_INT32, "n", OMIF_END) &&
      omif_DesignCreate(dictionary, "Outer", NULL, OMIF_STRING, "s", OMIF_BYTES, "b", OMIF_DOUBLES,
                        "d", OMIF_ENUMERATION, "e", "ZERO", "ONE", NULL, OMIF_EMBEDDED, "i", inner,
                        OMIF_POINTER, "p", "Target", OMIF_END))
    text = omif_DictionaryEncodeToString(dictionary, NULL);
  omif_DesignFree(&inner);
  omif_DictionaryFree(&dictionary);
  return text;
}
