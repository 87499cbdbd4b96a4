#include <gtest/gtest.h>

#include <string>

#include "tests/text/Faces.h"

namespace qzmtraw::test {
namespace {

const std::string kNothing;
const std::string kPlain = "CKNewTxtFileType";
const std::string kHeader = "CKSrcHFileType";
const std::string kCSource = "CKSrcCFileType";
const std::string kJava = "CKJavaFileType";
const std::string kJavaScript = "CKJsFileType";
const std::string kPython = "CKPyFileType";
const std::string kPerl = "CKPlFileType";
const std::string kObjectiveCHeader = "CKOCHFileType";
const std::string kObjectiveCSource = "CKOCMFileType";
const std::string kUrl = "CKIEUrlFileType";
const std::string kPhp = "CKCodeTxtPhpFileType";
const std::string kMail = "CKIEMimeEmailEmlFileType";

/// What is written at an offset, behind letters that show nothing.
std::string At(std::size_t offset, const std::string& text, const std::string& beginning = "") {
  return beginning + std::string(offset - beginning.size(), 'z') + text;
}

class TextKinds : public ::testing::Test {
 protected:
  /// The face that reports a text of one sector of 512 bytes with this beginning, or nothing.
  std::string KindOf(std::string text) {
    text.resize(512, 'z');
    faces.Settle();
    const FaceHits hits = faces.Feed(Sectors({text, Literal("\0")}));
    if (hits.empty()) return kNothing;
    EXPECT_EQ(hits, (FaceHits{{0, hits.front().className, 512}}));
    return hits.front().className;
  }

  Faces faces{kTextFaces};
};

TEST_F(TextKinds, TextThatShowsNothingIsPlain) {
  EXPECT_EQ(KindOf(""), kPlain);
  EXPECT_EQ(KindOf("Some words; and more.\n"), kPlain);
  EXPECT_EQ(KindOf("<html><body>\n"), kPlain);
  EXPECT_EQ(KindOf("<?xml version=\"1.0\"?>\n"), kPlain);
}

TEST_F(TextKinds, FormatsWithDetectorsOfTheirOwnAreNoText) {
  for (const char* anywhere : {"TaxACT Encrypted", "Microsoft Linker Database", "Microsoft C/C++ MSF"}) {
    EXPECT_EQ(KindOf(anywhere), kNothing) << anywhere;
    EXPECT_EQ(KindOf(At(450, anywhere, "#include <a>")), kNothing) << anywhere;
  }
  for (const char* first : {"AVP Antiviral Database", "VCPCH0", "XPCOMTypeLib", "TTFN", "SMARTDRW"}) {
    EXPECT_EQ(KindOf(first), kNothing) << first;
    EXPECT_EQ(KindOf(std::string("z") + first), kPlain) << first;
  }
}

TEST_F(TextKinds, ExclusionsComeBeforeKinds) {
  EXPECT_EQ(KindOf("[InternetShortcut] TaxACT Encrypted"), kNothing);
  EXPECT_EQ(KindOf("VCPCH0 [InternetShortcut]"), kNothing);
}

TEST_F(TextKinds, CertificateCountsFromOffset278On) {
  EXPECT_EQ(KindOf(At(278, "ESET Update Signing Certificate")), kNothing);
  EXPECT_EQ(KindOf(At(481, "ESET Update Signing Certificate")), kNothing);
  EXPECT_EQ(KindOf(At(277, "ESET Update Signing Certificate")), kPlain);
  EXPECT_EQ(KindOf("ESET Update Signing Certificate"), kPlain);
}

TEST_F(TextKinds, CertificateNeedsToLieInTheSector) {
  const auto inSectorsOf = [this](std::size_t size, const std::string& text) {
    faces.Settle();
    return faces.Feed(Sectors({text + Literal("\0")}, size), size);
  };
  const std::string text = At(278, "ESET Update Signing Certificate");
  EXPECT_EQ(inSectorsOf(278, text), (FaceHits{{0, kPlain, 309}}));
  EXPECT_EQ(inSectorsOf(279, text), (FaceHits{{0, kPlain, 309}}));
  EXPECT_EQ(inSectorsOf(308, text), (FaceHits{{0, kPlain, 309}}));
  EXPECT_EQ(inSectorsOf(309, text), FaceHits{});
}

TEST_F(TextKinds, InternetShortcutWinsAnywhere) {
  EXPECT_EQ(KindOf("[InternetShortcut]\r\nURL=http://example.org/\r\n"), kUrl);
  EXPECT_EQ(KindOf(At(512 - 18, "[InternetShortcut]", "MIME-Version: 1.0\n")), kUrl);
  EXPECT_EQ(KindOf(At(512 - 17, "[InternetShortcut")), kPlain);
}

TEST_F(TextKinds, FormatsThatBeginWithTheirName) {
  const std::vector<std::pair<std::string, std::string>> heads = {
      {"// <!-- <mdb:mork:z v=", "CKIEMsfFileType"},
      {"BegMf", "CKGCgmTxtFileType"},
      {"#EXTM3U", "CKMM3uFileType"},
      {"MIME-Version:", kMail},
      {"OziExplorer Map Data File Version", "CKOMapFileType"},
      {"<Screen", "CKGuiFileType"},
      {"# Microsoft Developer Studio Project File - Name=", "CKDspFileType"},
      {"Microsoft Developer Studio Workspace File, Format Version", "CKDswFileType"},
      {"Type=", "CKVbpFileType"},
      {"STARTFONT", "CKDbfFileType"},
      {"IN;\r\n", "CKGPltFileType"},
  };
  for (const auto& [head, kind] : heads) {
    EXPECT_EQ(KindOf(head), kind);
    EXPECT_EQ(KindOf("z" + head), kPlain) << head;
    EXPECT_EQ(KindOf(head.substr(0, head.size() - 1)), kPlain) << head;
  }
  EXPECT_EQ(KindOf("IN;\n"), kPlain);
}

TEST_F(TextKinds, PlotterFileComesBeforeAllRules) { EXPECT_EQ(KindOf("IN;\r\nTaxACT Encrypted"), "CKGPltFileType"); }

TEST_F(TextKinds, DataInterchangeNamesItsTableEarly) {
  EXPECT_EQ(KindOf("TABLE\r\n0,1\r\n\"EXCEL\"\r\n"), "CKDDifFileType");
  EXPECT_EQ(KindOf(At(60, "TABLE \"EXCEL\"")), "CKDDifFileType");
  EXPECT_EQ(KindOf(At(61, "TABLE \"EXCEL\"")), kPlain);
  EXPECT_EQ(KindOf(At(500, "\"EXCEL\"", "TABLE")), "CKDDifFileType");
  EXPECT_EQ(KindOf("TABLE EXCEL"), kPlain);
  EXPECT_EQ(KindOf("z\"EXCEL\""), kPlain);
}

TEST_F(TextKinds, MailBeginsWithItsVersionOrADateOnAWednesday) {
  EXPECT_EQ(KindOf("Date: Wed, 1 Jan 2020\nFrom: a@b\n"), kMail);
  EXPECT_EQ(KindOf("Date: Thu, 2 Jan 2020\nFrom: a@b\n"), kPlain);
  EXPECT_EQ(KindOf("Date: Wed, 1 Jan 2020\nFrom: ab\n"), kPlain);
  EXPECT_EQ(KindOf("Date: Wed, 1 Jan 2020\nTo: a@b\n"), kPlain);
  EXPECT_EQ(KindOf("From: a@b\nDate: Wed, 1 Jan 2020\n"), kPlain);
}

TEST_F(TextKinds, RegistryExportHasAKeyBelowOffset13) {
  EXPECT_EQ(KindOf("REGEDIT4\r\n\r\n[HKEY_LOCAL"), "CKORegFileType");
  EXPECT_EQ(KindOf("REGEDIT4\r\n\r\n [HKEY_LOCAL"), kPlain);
  EXPECT_EQ(KindOf("REGEDIT4[HKEY_"), "CKORegFileType");
  EXPECT_EQ(KindOf("REGEDIT5[HKEY_"), kPlain);
}

TEST_F(TextKinds, HelpContentsHasATitleInItsFirst65Bytes) {
  EXPECT_EQ(KindOf(":Base a.hlp\r\n:Title b"), "CKOTxtCntFileType");
  EXPECT_EQ(KindOf(At(58, ":Title ", ":Base ")), "CKOTxtCntFileType");
  EXPECT_EQ(KindOf(At(59, ":Title ", ":Base ")), kPlain);
  EXPECT_EQ(KindOf(":Title :Base "), kPlain);
}

TEST_F(TextKinds, ClassWizardSaysSoAtOffset2) {
  const std::string line = "CLW file contains information for the";
  EXPECT_EQ(KindOf("; " + line + " MFC"), "CKClwFileType");
  EXPECT_EQ(KindOf(";" + line), kPlain);
  EXPECT_EQ(KindOf(";  " + line), kPlain);
  EXPECT_EQ(KindOf(line), kPlain);
}

// --- Texts that begin with a comment ---

TEST_F(TextKinds, CommentedHeader) {
  EXPECT_EQ(KindOf(At(500, "#pragma once", "//")), kHeader);
  EXPECT_EQ(KindOf("// foo.h\n#include <a>"), kHeader);
  EXPECT_EQ(KindOf("/* foo.html and more"), kHeader);
  EXPECT_EQ(KindOf(At(63, ".h", "//")), kHeader);
  EXPECT_EQ(KindOf(At(64, ".h", "//")), kPlain);
  EXPECT_EQ(KindOf(At(400, "#import <", "//")), kHeader);
  EXPECT_EQ(KindOf(At(400, "#import < @", "//")), kPlain);
  EXPECT_EQ(KindOf(At(499, "#pragma pack(", "//")), kHeader);
}

TEST_F(TextKinds, CommentedSourceNamesItselfInItsFirst65Bytes) {
  EXPECT_EQ(KindOf(At(500, "#include <", "// a.c")), kCSource);
  EXPECT_EQ(KindOf(At(500, "#include \"", "// a.cpp")), kCSource);
  EXPECT_EQ(KindOf(At(63, ".c\n#include <", "//")), kCSource);
  EXPECT_EQ(KindOf(At(64, ".c\n#include <", "//")), kPlain);
  EXPECT_EQ(KindOf("// a.c"), kPlain);
  EXPECT_EQ(KindOf("// words\n#include <a>"), kPlain);
  EXPECT_EQ(KindOf("// a.c a.h\n#include <a>"), kHeader);
}

TEST_F(TextKinds, CommentedJava) {
  EXPECT_EQ(KindOf("// A.java"), kJava);
  EXPECT_EQ(KindOf(At(60, ".java", "//")), kJava);
  EXPECT_EQ(KindOf(At(61, ".java", "//")), kPlain);
  EXPECT_EQ(KindOf(At(500, "import java", "//")), kJava);
}

TEST_F(TextKinds, CommentedJavaScript) {
  EXPECT_EQ(KindOf("/*! jQuery v3 */"), kJavaScript);
  EXPECT_EQ(KindOf("/*! jQuery: */"), kPlain);
  EXPECT_EQ(KindOf(At(58, "jQuery ", "//")), kJavaScript);
  EXPECT_EQ(KindOf(At(59, "jQuery ", "//")), kPlain);
  EXPECT_EQ(KindOf(At(55, "JavaScript", "//")), kJavaScript);
  EXPECT_EQ(KindOf(At(56, "JavaScript", "//")), kPlain);
  EXPECT_EQ(KindOf("// a\nvar a = function(){}"), kJavaScript);
  EXPECT_EQ(KindOf("// a\nvar a = function(){} class"), kPlain);
  EXPECT_EQ(KindOf("// a\na = function(){}"), kPlain);
  EXPECT_EQ(KindOf("// a\nvar a"), kPlain);
  EXPECT_EQ(KindOf(At(480, "<script language=\"Javascript\"", "//")), kJavaScript);
  EXPECT_EQ(KindOf(At(480, "<script language=\"JavaScript\"", "//")), kPlain);
}

TEST_F(TextKinds, CommentedPhp) { EXPECT_EQ(KindOf(At(500, "<?php", "//")), kPhp); }

TEST_F(TextKinds, CommentThatIsNotClosedIsUndecided) {
  EXPECT_EQ(KindOf("/* words"), kNothing);
  EXPECT_EQ(KindOf(At(510, "*/", "/*")), kPlain);
  EXPECT_EQ(KindOf("/*/"), kPlain);
  EXPECT_EQ(KindOf("// words"), kPlain);
  EXPECT_EQ(KindOf("/* <?php"), kPhp);
}

TEST_F(TextKinds, OrderOfCommentedRules) {
  EXPECT_EQ(KindOf("// .c .java\n#include <a>"), kCSource);
  EXPECT_EQ(KindOf("// .java jQuery "), kJava);
  EXPECT_EQ(KindOf("// jQuery <?php"), kJavaScript);
}

// --- All other texts ---

TEST_F(TextKinds, SourceHeader) {
  EXPECT_EQ(KindOf("#pragma once\n#include <a>"), kHeader);
  EXPECT_EQ(KindOf("\n#pragma once"), kPlain);
  EXPECT_EQ(KindOf("#ifndef A"), kHeader);
  EXPECT_EQ(KindOf(At(20, "#ifndef A", "#line 1")), kPlain);
  EXPECT_EQ(KindOf(At(52, "#pragma pack(")), kHeader);
  EXPECT_EQ(KindOf(At(53, "#pragma pack(")), kPlain);
  EXPECT_EQ(KindOf(At(56, "#import <")), kHeader);
  EXPECT_EQ(KindOf(At(57, "#import <")), kPlain);
  EXPECT_EQ(KindOf(At(511, "@", "#import <")), kPlain);
}

TEST_F(TextKinds, SourceIncludesInItsFirst65Bytes) {
  EXPECT_EQ(KindOf("#include <a>"), kCSource);
  EXPECT_EQ(KindOf("#include \"a\""), kCSource);
  EXPECT_EQ(KindOf(At(55, "#include <")), kCSource);
  EXPECT_EQ(KindOf(At(56, "#include <")), kPlain);
  EXPECT_EQ(KindOf(At(70, "#include <")), kPlain);
  EXPECT_EQ(KindOf(At(500, "#pragma once", "#include <")), kPlain);
  EXPECT_EQ(KindOf(At(500, "#pragma once", "#include \"")), kPlain);
}

TEST_F(TextKinds, JavaBelowOffset200) {
  EXPECT_EQ(KindOf(At(199, "import java")), kJava);
  EXPECT_EQ(KindOf(At(200, "import java")), kPlain);
  EXPECT_EQ(KindOf(At(199, "public interface")), kJava);
  EXPECT_EQ(KindOf(At(200, "public interface")), kPlain);
}

TEST_F(TextKinds, JavaScript) {
  EXPECT_EQ(KindOf("var a = function(){};\n"), kJavaScript);
  EXPECT_EQ(KindOf("var a = function(){};\r\n"), kPlain);
  EXPECT_EQ(KindOf("var a = function(){};\n class"), kPlain);
  EXPECT_EQ(KindOf("a = function(){};\n"), kPlain);
  EXPECT_EQ(KindOf("var a;\n"), kPlain);
  EXPECT_EQ(KindOf(At(483, "<script language=\"JavaScript\"")), kJavaScript);
  EXPECT_EQ(KindOf(At(483, "<SCRIPT LANGUAGE=\"JavaScript\"")), kJavaScript);
  EXPECT_EQ(KindOf(At(400, "<script language=\"Javascript\"")), kPlain);
}

TEST_F(TextKinds, Perl) {
  EXPECT_EQ(KindOf("use strict;\n"), kPerl);
  EXPECT_EQ(KindOf("my $a;\n"), kPerl);
  EXPECT_EQ(KindOf(At(506, "my ;\n")), kPerl);
  EXPECT_EQ(KindOf("use strict;\r\n"), kPlain);
  EXPECT_EQ(KindOf("a = 1;\n"), kPlain);
  EXPECT_EQ(KindOf("use strict;\n# default"), kPlain);
  EXPECT_EQ(KindOf(At(100, "#include", "use strict;\n")), kPlain);
  EXPECT_EQ(KindOf(At(100, "#import", "use strict;\n")), kPlain);
}

TEST_F(TextKinds, Python) {
  EXPECT_EQ(KindOf("# python; words"), kPython);
  EXPECT_EQ(KindOf(" # python"), kPlain);
  EXPECT_EQ(KindOf("_metaclass_ = type;"), kPython);
  EXPECT_EQ(KindOf(At(47, "_metaclass_ = type")), kPython);
  EXPECT_EQ(KindOf(At(48, "_metaclass_ = type")), kPlain);
  EXPECT_EQ(KindOf("import os\n"), kPython);
  EXPECT_EQ(KindOf("import os\n;"), kPlain);
  EXPECT_EQ(KindOf("import os"), kPlain);
  EXPECT_EQ(KindOf("import Qt\nimport os\n"), kPlain);
  EXPECT_EQ(KindOf("import \"a\"\nimport os\n"), kPlain);
  EXPECT_EQ(KindOf("import <a>\nimport os\n"), kPlain);
  EXPECT_EQ(KindOf(At(58, "import ", "\n")), kPython);
  EXPECT_EQ(KindOf(At(59, "import ", "\n")), kPlain);
  EXPECT_EQ(KindOf(At(64, "\n", "import ")), kPython);
  EXPECT_EQ(KindOf(At(65, "\n", "import ")), kPlain);
}

TEST_F(TextKinds, PythonByAClassBelowOffset200) {
  EXPECT_EQ(KindOf(At(199, "class A:\n  def f():", "\n")), kPython);
  EXPECT_EQ(KindOf(At(200, "class A:\n  def f():", "\n")), kPlain);
  EXPECT_EQ(KindOf("\nclass A:\n"), kPlain);
  EXPECT_EQ(KindOf("\nclass A:\r\n  def f():\r\n"), kPlain);
  EXPECT_EQ(KindOf("\ndef f():\n"), kPlain);
}

TEST_F(TextKinds, Php) {
  EXPECT_EQ(KindOf("<?php\n"), kPhp);
  EXPECT_EQ(KindOf(At(60, "<?php")), kPhp);
  EXPECT_EQ(KindOf(At(61, "<?php")), kPlain);
}

TEST_F(TextKinds, ObjectiveCHeader) {
  EXPECT_EQ(KindOf(At(299, "@interface", "#import <a>")), kObjectiveCHeader);
  EXPECT_EQ(KindOf(At(299, "@interface", "#import \"a\"")), kObjectiveCHeader);
  EXPECT_EQ(KindOf(At(300, "@interface", "#import <a>")), kPlain);
  EXPECT_EQ(KindOf(At(300, "@interface", "#import \"a\"")), kPlain);
  EXPECT_EQ(KindOf(At(100, "@interface")), kPlain);
}

TEST_F(TextKinds, ObjectiveCSource) {
  EXPECT_EQ(KindOf(At(299, "@implementation", "#import <a>")), kObjectiveCSource);
  EXPECT_EQ(KindOf(At(299, "@implementation", "#import \"a\"")), kObjectiveCSource);
  EXPECT_EQ(KindOf(At(300, "@implementation", "#import \"a\"")), kPlain);
  EXPECT_EQ(KindOf(At(400, "@interface", At(200, "@implementation", "#import \"a\""))), kPlain);
  EXPECT_EQ(KindOf(At(57, "#import <@implementation")), kPlain);
  EXPECT_EQ(KindOf(At(400, "NSAutoreleasePool * [p drain];", "#import \"a\"")), kObjectiveCSource);
  EXPECT_EQ(KindOf(At(400, "NSAutoreleasePool * [p  drain]", "#import \"a\"")), kPlain);
  EXPECT_EQ(KindOf(At(400, " drain];", "#import \"a\"")), kPlain);
}

TEST_F(TextKinds, OrderOfSourceRules) {
  EXPECT_EQ(KindOf("#pragma pack( #include <a>"), kHeader);
  EXPECT_EQ(KindOf("#include <a>\nimport java"), kCSource);
  EXPECT_EQ(KindOf("import java;\nvar a = function(){}"), kJava);
  EXPECT_EQ(KindOf("var a = function(){};\nuse "), kJavaScript);
  EXPECT_EQ(KindOf("# python\nuse strict;\n"), kPerl);
  EXPECT_EQ(KindOf("# python\n<?php"), kPython);
  EXPECT_EQ(KindOf("<?php #import \"a\" @interface"), kPhp);
}

TEST_F(TextKinds, LettersAreComparedAsTheyAre) {
  EXPECT_EQ(KindOf("#IFNDEF A"), kPlain);
  EXPECT_EQ(KindOf("type="), kPlain);
}

}  // namespace
}  // namespace qzmtraw::test
