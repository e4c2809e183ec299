#include "tile_features.h"

#include <algorithm>
#include <cctype>
#include <set>

namespace reference {

namespace {

const char* const EXT_FETCH = "GL_EXT_shader_framebuffer_fetch";
const char* const EXT_FETCH_NON_COHERENT = "GL_EXT_shader_framebuffer_fetch_non_coherent";
const char* const OVYN_FETCH = "GL_OVYN_shader_framebuffer_fetch";
const char* const OVYN_FETCH_DEPTH_STENCIL = "GL_OVYN_shader_framebuffer_fetch_depth_stencil";
const char* const PIXEL_LOCAL_STORAGE = "GL_EXT_shader_pixel_local_storage";

// A word of the source: an identifier, a number or one punctuation
// character; comments, directives and blanks are not tokens.
struct Token {
    size_t begin;
    size_t end;
    int line;
    std::string text;
};

struct Directive {
    size_t begin;
    size_t end;  // up to the newline
    int line;
    std::string text;
};

bool is_word(char c) { return std::isalnum(static_cast<unsigned char>(c)) || c == '_'; }

struct Scan {
    std::vector<Token> tokens;
    std::vector<Directive> directives;
};

Scan scan(const std::string& source) {
    Scan result;
    size_t at = 0;
    int line = 1;
    bool line_start = true;
    while (at < source.size()) {
        const char c = source[at];
        if (c == '\n') {
            ++line;
            ++at;
            line_start = true;
        } else if (c == ' ' || c == '\t' || c == '\r' || c == '\f' || c == '\v') {
            ++at;
        } else if (source.compare(at, 2, "//") == 0) {
            while (at < source.size() && source[at] != '\n') ++at;
        } else if (source.compare(at, 2, "/*") == 0) {
            const size_t close = source.find("*/", at + 2);
            const size_t end = close == std::string::npos ? source.size() : close + 2;
            line += static_cast<int>(
                std::count(source.begin() + static_cast<long>(at), source.begin() + static_cast<long>(end), '\n'));
            at = end;
        } else if (c == '#' && line_start) {
            size_t end = at;
            while (end < source.size() && source[end] != '\n') ++end;
            result.directives.push_back({at, end, line, source.substr(at, end - at)});
            at = end;
        } else if (is_word(c)) {
            size_t end = at;
            while (end < source.size() && is_word(source[end])) ++end;
            result.tokens.push_back({at, end, line, source.substr(at, end - at)});
            at = end;
            line_start = false;
        } else {
            result.tokens.push_back({at, at + 1, line, std::string(1, c)});
            ++at;
            line_start = false;
        }
    }
    return result;
}

std::vector<std::string> words_of(const std::string& text) {
    std::vector<std::string> words;
    std::string word;
    for (char c : text) {
        if (is_word(c)) {
            word += c;
        } else {
            if (!word.empty()) words.push_back(word);
            word.clear();
            if (c == ':') words.push_back(":");
        }
    }
    if (!word.empty()) words.push_back(word);
    return words;
}

std::string at_line(int line) { return "0:" + std::to_string(line) + ": "; }

struct Edit {
    size_t begin;
    size_t end;
    std::string text;
};

// One member of a pixel local storage block.
struct PlsMember {
    std::string instance;  // "" for a block without one: the member is then a global
    std::string name;
    std::string precision;  // "highp" when the member names none
    std::string type;
    bool used = false;     // the program names it somewhere
    bool written = false;  // ... and assigns to it
    std::string access() const { return instance.empty() ? name : instance + "." + name; }
};

bool is_assignment(const std::string& op) {
    return op == "+" || op == "-" || op == "*" || op == "/" || op == "%" || op == "&" || op == "|" || op == "^";
}

struct PlsBlock {
    bool readable = false;
    bool writable = false;
    std::vector<PlsMember> members;
};

bool is_integer_type(const std::string& type) {
    return type == "int" || type == "uint" || type.compare(0, 4, "ivec") == 0 || type.compare(0, 4, "uvec") == 0;
}

class Rewriter {
public:
    Rewriter(const std::string& source, Stage stage, const CoreInfo& core, const CoreFeatures& features)
        : source_(source), stage_(stage), core_(core), features_(features), scan_(scan(source)) {}

    TileRewrite run() {
        read_directives();
        if (enabled_.empty()) {
            result_.source = source_;
            return std::move(result_);
        }
        if (!result_.errors.empty()) return std::move(result_);
        rewrite_tokens();
        if (!result_.errors.empty()) return std::move(result_);
        apply();
        return std::move(result_);
    }

private:
    bool on(const char* extension) const { return enabled_.count(extension) > 0; }

    void read_directives() {
        const std::vector<std::string>& tile = tile_extensions();
        for (const Directive& directive : scan_.directives) {
            const std::vector<std::string> words = words_of(directive.text);
            if (words.size() >= 2 && words[0] == "version") version_ = std::atoi(words[1].c_str());
            if (words.size() < 4 || words[0] != "extension" || words[2] != ":") continue;
            const std::string& name = words[1];
            const std::string& behaviour = words[3];
            if (std::find(tile.begin(), tile.end(), name) == tile.end()) continue;
            // glslang does not know the name: the directive goes, its line stays.
            edits_.push_back({directive.begin, directive.end, std::string(directive.end - directive.begin, ' ')});
            const std::string where = at_line(directive.line) + "'#extension' : ";
            if (behaviour == "disable") {
                enabled_.erase(name);
                continue;
            }
            const auto& offered = features_.opengles_extensions;
            if (std::find(offered.begin(), offered.end(), name) == offered.end()) {
                const std::string message = where + "extension not supported by " + core_.name + ": " + name;
                (behaviour == "require" ? result_.errors : result_.warnings).push_back(message);
                continue;
            }
            if (stage_ != Stage::Fragment) {
                result_.errors.push_back(where + name + " is only available in fragment shaders");
                continue;
            }
            if (name == PIXEL_LOCAL_STORAGE && version_ < 300) {
                result_.errors.push_back(where + name + " needs #version 300 es or later");
                continue;
            }
            enabled_.insert(name);
        }
    }

    void declare(const std::string& name, const std::string& declaration, TileKind kind) {
        if (result_.variables.count(name) > 0) return;
        result_.variables[name] = kind;
        prologue_ += declaration + " ";
    }

    std::string input_qualifier() const { return version_ >= 300 ? "in" : "varying"; }

    void rewrite_tokens() {
        const std::vector<Token>& tokens = scan_.tokens;
        int braces = 0, parens = 0;
        const bool fetch = on(EXT_FETCH) || on(EXT_FETCH_NON_COHERENT);
        for (size_t index = 0; index < tokens.size(); ++index) {
            const Token& token = tokens[index];
            const std::string& word = token.text;
            if (word == "{") ++braces;
            if (word == "}") --braces;
            if (word == "(") ++parens;
            if (word == ")") --parens;
            if (first_code_ == std::string::npos) first_code_ = line_start_of(token.begin);
            if (word == "gl_LastFragColorOVYN" && on(OVYN_FETCH)) {
                declare("shadex_tile_color", input_qualifier() + " mediump vec4 shadex_tile_color;", TileKind::Color);
                edits_.push_back({token.begin, token.end, "shadex_tile_color"});
            } else if (word == "gl_LastFragDepthOVYN" && on(OVYN_FETCH_DEPTH_STENCIL)) {
                declare("shadex_tile_depth", input_qualifier() + " highp float shadex_tile_depth;", TileKind::Depth);
                edits_.push_back({token.begin, token.end, "shadex_tile_depth"});
            } else if (word == "gl_LastFragStencilOVYN" && on(OVYN_FETCH_DEPTH_STENCIL)) {
                // OpenGL ES 2 has no integer inputs: the stencil comes as a float.
                if (version_ >= 300) {
                    declare("shadex_tile_stencil", "flat in highp int shadex_tile_stencil;", TileKind::Stencil);
                    edits_.push_back({token.begin, token.end, "shadex_tile_stencil"});
                } else {
                    declare("shadex_tile_stencil", "varying highp float shadex_tile_stencil;", TileKind::Stencil);
                    edits_.push_back({token.begin, token.end, "int(shadex_tile_stencil)"});
                }
            } else if (word == "gl_LastFragData" && fetch) {
                declare("shadex_tile_last_frag_data",
                        input_qualifier() + " mediump vec4 shadex_tile_last_frag_data[4];", TileKind::Color);
                edits_.push_back({token.begin, token.end, "shadex_tile_last_frag_data"});
            } else if (word == "inout" && fetch && braces == 0 && parens == 0) {
                // An output that reads the tile: reading an output back is a fetch.
                edits_.push_back({token.begin, token.end, "out"});
            } else if ((word == "__pixel_localEXT" || word == "__pixel_local_inEXT" ||
                        word == "__pixel_local_outEXT") &&
                       braces == 0) {
                if (!on(PIXEL_LOCAL_STORAGE)) continue;  // glslang reports the unknown word
                index = pixel_local_block(index);
            } else if (word == "main" && braces == 0 && index > 0 && tokens[index - 1].text == "void" &&
                       index + 1 < tokens.size() && tokens[index + 1].text == "(") {
                main_ = &token;
            } else if (braces == 0 && parens == 0 && word == "out" && index > 0 && tokens[index - 1].text != "(" &&
                       tokens[index - 1].text != ",") {
                output_line_ = output_line_ == 0 ? token.line : output_line_;
            } else if (word == "gl_FragColor" || word == "gl_FragData") {
                output_line_ = output_line_ == 0 ? token.line : output_line_;
            }
        }
        if (blocks_.empty()) return;
        for (const PlsBlock& block : blocks_)
            if (block.writable && output_line_ != 0) {
                result_.errors.push_back(
                    at_line(output_line_) +
                    "'out' : a shader that writes pixel local storage cannot also write fragment outputs");
                return;
            }
        if (main_ == nullptr) return;  // glslang reports the missing main
        find_member_uses();
        edits_.push_back({main_->begin, main_->end, "shadex_user_main"});
        epilogue_ = pixel_local_main();
    }

    // Reads "KEYWORD Name { members } instance? ;" from the keyword at
    // `index`; returns the index of its last token.
    size_t pixel_local_block(size_t index) {
        const std::vector<Token>& tokens = scan_.tokens;
        const Token& keyword = tokens[index];
        PlsBlock block;
        block.readable = keyword.text != "__pixel_local_outEXT";
        block.writable = keyword.text != "__pixel_local_inEXT";
        if (index + 2 >= tokens.size() || !is_word(tokens[index + 1].text[0]) || tokens[index + 2].text != "{") {
            result_.errors.push_back(at_line(keyword.line) + "'" + keyword.text + "' : expected a block name and '{'");
            return tokens.size();
        }
        const std::string name = tokens[index + 1].text;
        size_t at = index + 3;
        std::vector<std::string> member_names;
        std::vector<std::string> member_types, member_precisions;
        while (at < tokens.size() && tokens[at].text != "}") {
            // One declaration: [layout(...)] [precision] type name [, name]... ;
            std::string precision, type;
            std::vector<std::string> names;
            while (at < tokens.size() && tokens[at].text != ";" && tokens[at].text != "}") {
                const std::string& word = tokens[at].text;
                if (word == "layout" && at + 1 < tokens.size() && tokens[at + 1].text == "(") {
                    // Storage formats are the tile's business, not glslang's.
                    size_t close = at + 1;
                    while (close < tokens.size() && tokens[close].text != ")") ++close;
                    if (close == tokens.size()) break;
                    edits_.push_back({tokens[at].begin, tokens[close].end, ""});
                    at = close + 1;
                    continue;
                }
                if (word == "lowp" || word == "mediump" || word == "highp") {
                    precision = word;
                } else if (is_word(word[0]) && type.empty()) {
                    type = word;
                } else if (is_word(word[0])) {
                    names.push_back(word);
                }
                ++at;
            }
            if (at < tokens.size() && tokens[at].text == ";") ++at;
            for (const std::string& member : names) {
                member_names.push_back(member);
                member_types.push_back(type);
                member_precisions.push_back(precision.empty() ? "highp" : precision);
            }
        }
        if (at >= tokens.size()) {
            result_.errors.push_back(at_line(keyword.line) + "'" + keyword.text + "' : the block is not closed");
            return tokens.size();
        }
        const Token& close = tokens[at];
        std::string instance;
        size_t last = at;
        if (at + 1 < tokens.size() && is_word(tokens[at + 1].text[0])) {
            instance = tokens[at + 1].text;
            last = at + 1;
        }
        if (last + 1 < tokens.size() && tokens[last + 1].text == ";") ++last;
        const std::string struct_name = "shadex_pls_" + name;
        if (!instance.empty()) {
            // A struct of the members and a global of that struct.
            edits_.push_back({keyword.begin, keyword.end, "struct"});
            edits_.push_back({tokens[index + 1].begin, tokens[index + 1].end, struct_name});
            edits_.push_back({close.begin, close.end, "}; " + struct_name});
        } else {
            // The members become globals of their own.
            edits_.push_back({keyword.begin, tokens[index + 2].end, ""});
            edits_.push_back({close.begin, close.end, ""});
            if (last > at && tokens[last].text == ";") edits_.push_back({tokens[last].begin, tokens[last].end, ""});
        }
        for (size_t m = 0; m < member_names.size(); ++m)
            block.members.push_back({instance, member_names[m], member_precisions[m], member_types[m]});
        blocks_.push_back(block);
        block_end_ = std::max(block_end_, tokens[last].end);
        return last;
    }

    // Which members the program names, and which it assigns to ("pls.colour.rgb *= x",
    // "++pls.count"): only those are read from and written back to the tile.
    void find_member_uses() {
        const std::vector<Token>& tokens = scan_.tokens;
        for (PlsBlock& block : blocks_)
            for (PlsMember& member : block.members)
                for (size_t at = 0; at < tokens.size(); ++at) {
                    size_t last = at;  // the member's own token
                    if (member.instance.empty()) {
                        if (tokens[at].text != member.name || (at > 0 && tokens[at - 1].text == ".")) continue;
                    } else {
                        if (tokens[at].text != member.instance || at + 2 >= tokens.size() ||
                            tokens[at + 1].text != "." || tokens[at + 2].text != member.name)
                            continue;
                        last = at + 2;
                    }
                    if (tokens[at].begin < block_end_) continue;  // the declaration itself
                    member.used = true;
                    size_t next = last + 1;
                    while (next + 1 < tokens.size() && tokens[next].text == "." && is_word(tokens[next + 1].text[0]))
                        next += 2;  // a swizzle
                    const std::string after = next < tokens.size() ? tokens[next].text : "";
                    const std::string after2 = next + 1 < tokens.size() ? tokens[next + 1].text : "";
                    const std::string after3 = next + 2 < tokens.size() ? tokens[next + 2].text : "";
                    const bool assigned = (after == "=" && after2 != "=") || (is_assignment(after) && after2 == "=") ||
                                          ((after == "+" || after == "-") && after2 == after) ||
                                          ((after == "<" || after == ">") && after2 == after && after3 == "=") ||
                                          (at >= 2 && (tokens[at - 1].text == "+" || tokens[at - 1].text == "-") &&
                                           tokens[at - 2].text == tokens[at - 1].text);
                    if (assigned) member.written = true;
                }
    }

    // The program's main, wrapped: the tile's values in, the user's main, the
    // tile's values out. Appended after the last line, so every line keeps
    // its number.
    std::string pixel_local_main() {
        std::string declarations, before, after;
        size_t count = 0;
        for (const PlsBlock& block : blocks_)
            for (const PlsMember& member : block.members) {
                const std::string k = std::to_string(count++);
                if (block.readable && member.used) {
                    const std::string name = "shadex_pls_in_" + k;
                    declarations += std::string(is_integer_type(member.type) ? "flat " : "") + "in " +
                                    member.precision + " " + member.type + " " + name + ";\n";
                    before += " " + member.access() + " = " + name + ";";
                    result_.variables[name] = TileKind::PixelLocal;
                }
                if (block.writable && member.written) {
                    const std::string name = "shadex_pls_out_" + k;
                    declarations +=
                        "layout(location = " + k + ") out " + member.precision + " " + member.type + " " + name + ";\n";
                    after += " " + name + " = " + member.access() + ";";
                    result_.variables[name] = TileKind::PixelLocal;
                }
            }
        return "\n" + declarations + "void main() {" + before + " shadex_user_main();" + after + " }\n";
    }

    size_t line_start_of(size_t position) const {
        const size_t newline = source_.rfind('\n', position == 0 ? 0 : position - 1);
        return position == 0 || newline == std::string::npos ? 0 : newline + 1;
    }

    void apply() {
        std::string text = source_;
        if (!prologue_.empty()) {
            // Before the first line of code: after every #extension, at global scope.
            edits_.push_back({first_code_ == std::string::npos ? text.size() : first_code_,
                              first_code_ == std::string::npos ? text.size() : first_code_, prologue_});
        }
        std::stable_sort(edits_.begin(), edits_.end(), [](const Edit& a, const Edit& b) { return a.begin > b.begin; });
        for (const Edit& edit : edits_) text.replace(edit.begin, edit.end - edit.begin, edit.text);
        result_.source = text + epilogue_;
    }

    const std::string& source_;
    Stage stage_;
    const CoreInfo& core_;
    const CoreFeatures& features_;
    Scan scan_;
    TileRewrite result_;
    std::set<std::string> enabled_;
    int version_ = 100;
    int output_line_ = 0;
    size_t first_code_ = std::string::npos;
    const Token* main_ = nullptr;
    std::vector<Edit> edits_;
    std::vector<PlsBlock> blocks_;
    size_t block_end_ = 0;  // where the last block declaration ends
    std::string prologue_;
    std::string epilogue_;
};

}  // namespace

const std::vector<std::string>& tile_extensions() {
    static const std::vector<std::string> names = {EXT_FETCH, EXT_FETCH_NON_COHERENT, OVYN_FETCH,
                                                   OVYN_FETCH_DEPTH_STENCIL, PIXEL_LOCAL_STORAGE};
    return names;
}

TileRewrite rewrite_tile_features(const std::string& source, Stage stage, const CoreInfo& core,
                                  const CoreFeatures& features) {
    return Rewriter(source, stage, core, features).run();
}

}  // namespace reference
